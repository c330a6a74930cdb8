#include "zel_table.h"

#include <cerrno>
#include <cstring>

#include "blocks/zel_table.hpp"
#include "ground/list.hpp"
#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "records/records.hpp"

namespace {

using zel::fail;
using zel::report;

constexpr auto nextTable = &TableType::NextTable;

auto hasKey(int key)
{
    return [key](const TableType& table) { return table.TableKeyValue == key; };
}

auto hasLabel(const char* label)
{
    return
        [label](const TableType& table) { return zel::sameIgnoringCase(table.TableLabel, label); };
}

// The count decides: a freed list keeps a stale head.
TableType* firstOf(const TableListType* list)
{
    return list->NumTables > 0 ? list->TableHead : nullptr;
}

bool hasNoTables(const TableListType* list, const char* function)
{
    if (list->NumTables > 0) return false;
    report("%s:No Tables defined.\n", function);
    return true;
}

TableType* searchByKey(TableListType* list, int key, const char* function)
{
    if (hasNoTables(list, function)) return nullptr;
    TableType* table = zel::findNode(list->TableHead, nextTable, hasKey(key));
    if (!table) report("%s: Cannot find Table Key %d\n", function, key);
    return table;
}

TableType* searchByLabel(TableListType* list, const char* label, const char* function)
{
    if (hasNoTables(list, function)) return nullptr;
    TableType* table = zel::findNode(list->TableHead, nextTable, hasLabel(label));
    if (!table) report("%s: Cannot find Table Label %s\n", function, label);
    return table;
}

template <class Matches>
bool deleteFirst(TableListType* list, Matches matches)
{
    TableType* table = zel::unlinkNode(list->TableHead, nextTable, matches);
    if (!table) return false;
    ZELDeAllocateTable(table);
    --list->NumTables;
    return true;
}

// The bound is inclusive: an index equal to the count reaches the spare value.
void loadEntry(TableType* table, int index, float value, const char* function)
{
    if (index < 0 || index > table->NumTableValues)
        fail("%s: Invalid Table entry %d\n", function, index);
    table->Table[index] = value;
}

void loadValues(TableType* table, const float* values)
{
    for (int i = 0; i < table->NumTableValues; ++i) table->Table[i] = values[i];
}

void appendCopies(TableListType* dest, TableType* source, int count)
{
    if (dest->NumTables == 0) dest->TableHead = nullptr;
    zel::appendCopies(&dest->TableHead, nextTable, source, count, ZELCopyTable);
}

bool isOpenForWriting(const ZELType& file)
{
    return file.ReadWriteFlag == ZEL_WRITE_ONLY && file.FileOpened;
}

bool isReadOnly(const ZELType& file)
{
    return file.ReadWriteFlag == ZEL_READ_ONLY && file.numZELComponents < 2;
}

TableType* allocateTable()
{
    auto* table = zel::allocate<TableType>(1);
    if (!table) fail("ZELAllocateTable: cannot allocate Table\n");
    return table;
}

// The values that the table counts, and a spare one.
void allocateValues(TableType& table)
{
    table.Table = zel::allocate<float>(static_cast<std::size_t>(table.NumTableValues) + 1);
    if (!table.Table) fail("ZELAllocateTable: cannot allocate Table entries\n");
}

// Reads tables of a block and adds up the length that a header counts for them: a label's size for
// each value, as the readers of old layouts expect.
class TableReader : public zel::PassingOn<zel::RecordReader> {
public:
    using PassingOn::PassingOn;

    void items(TableType& table)
    {
        constexpr std::int64_t lengthPerValue = 204;
        const std::int64_t head = zel::tableRecordSize(0);
        next_.require(table.NumTableValues >= 0, "NumTableValues", table.NumTableValues);
        next_.requireBytes("table values", zel::tableRecordSize(table.NumTableValues) - head);
        total_ += head + lengthPerValue * table.NumTableValues;
        next_.require(total_ <= INT32_MAX, "length of the table block",
                      static_cast<double>(total_));
        allocateValues(table);
    }
    std::int64_t total() const { return total_; }

private:
    std::int64_t total_ = 0;
};

// Prints, in a function's name, what a walker has read or written of a table: each value when it is
// there.
template <class Walker>
class TableTrace : public zel::PassingOn<Walker> {
public:
    TableTrace(Walker& next, const char* function)
        : zel::PassingOn<Walker>(next), function_(function)
    {
    }
    void items(TableType& table)
    {
        this->next_.items(table);
        report("%s:NumTableValues %d\n", function_, table.NumTableValues);
        report("%s:TableKeyValue %d\n", function_, table.TableKeyValue);
        report("%s:TableLabel %s\n", function_, table.TableLabel);
    }
    void array(const char* name, float* values, int count)
    {
        for (int i = 0; i < count; ++i) {
            this->next_.field(name, values[i]);
            report("%s:%d: %f\n", function_, i, static_cast<double>(values[i]));
        }
    }

private:
    const char* function_;
};

void writeRecords(FILE* stream, TableListType* list, const char* function)
{
    zel::RecordWriter writer(stream);
    TableTrace trace(writer, function);
    for (TableType* table = list->TableHead; table; table = table->NextTable)
        zel::walkTable(trace, *table);
}

}  // namespace

TableType* ZELAllocateTable(int NumTableValues)
{
    if (NumTableValues < 0 || NumTableValues > INT16_MAX)
        fail("ZELAllocateTable: invalid number of Table entries %d\n", NumTableValues);
    zel::Owned<TableType> table(allocateTable());
    table->NumTableValues = static_cast<int16_t>(NumTableValues);
    allocateValues(*table);
    return table.release();
}

void ZELDeAllocateTable(TableType* table)
{
    if (!table) fail("ZELDeAllocateTable: error... tried to de-allocate NULL Table data\n");
    zel::release(table->Table);
    zel::release(table);
}

TableType* ZELAddTable(TableListType* list, int key, int NumTableValues, const char* label)
{
    if (key < INT16_MIN || key > INT16_MAX) {
        report("ZELAddTable: invalid Table key %d\n", key);
        return nullptr;
    }
    if (list->NumTables == INT16_MAX)
        fail("ZELAddTable: cannot add Table %s: a list holds at most %d\n", label, INT16_MAX);
    if (zel::findNode(firstOf(list), nextTable, hasKey(key))) {
        report("Key value %d already in use... pick another one\n", key);
        return nullptr;
    }
    TableType* table = ZELAllocateTable(NumTableValues);
    table->TableKeyValue = static_cast<int16_t>(key);
    zel::copyText(table->TableLabel, label);
    if (list->NumTables == 0) list->TableHead = nullptr;
    zel::appendNode(list->TableHead, nextTable, table);
    ++list->NumTables;
    return table;
}

void ZELDeleteTableByKey(TableListType* list, int key)
{
    if (list->NumTables == 0)
        report("ZELDeleteTableByKey: No Tables present in file\n");
    else if (!deleteFirst(list, hasKey(key)))
        report("ZELDeleteTableByKey: Table with key %d not present in file\n", key);
}

void ZELDeleteTableByLabel(TableListType* list, const char* label)
{
    if (list->NumTables == 0)
        report("ZELDeleteTableByLabel: No Tables present in file\n");
    else if (!deleteFirst(list, hasLabel(label)))
        report("ZELDeleteTableByLabel: Table with label %s not present in file\n", label);
}

void ZELLoadTableEntryByKey(TableListType* list, int key, int index, float value)
{
    TableType* table = searchByKey(list, key, "ZELLoadTableEntryByKey");
    if (table) loadEntry(table, index, value, "ZELLoadTableEntryByKey");
}

void ZELLoadTableEntryByLabel(TableListType* list, const char* label, int index, float value)
{
    TableType* table = searchByLabel(list, label, "ZELLoadTableEntryByLabel");
    if (table) loadEntry(table, index, value, "ZELLoadTableEntryByLabel");
}

void ZELLoadTableByKey(TableListType* list, int key, const float* values)
{
    TableType* table = searchByKey(list, key, "ZELLoadTableByKey");
    if (table) loadValues(table, values);
}

// The messages name the function for entries; programs depend on their text.
void ZELLoadTableByLabel(TableListType* list, const char* label, const float* values)
{
    TableType* table = searchByLabel(list, label, "ZELLoadTableEntryByLabel");
    if (table) loadValues(table, values);
}

TableType* ZELFetchTableByKey(TableListType* list, int key)
{
    return searchByKey(list, key, "ZELFetchTableByKey");
}

TableType* ZELFetchTableByLabel(TableListType* list, const char* label)
{
    return searchByLabel(list, label, "ZELFetchTableByLabel");
}

int ZELFetchTableKeyByLabel(TableListType* list, const char* label)
{
    const TableType* table = searchByLabel(list, label, "ZELFetchTableKeyByLabel");
    return table ? table->TableKeyValue : -1;
}

char* ZELFetchTableLabelByKey(TableListType* list, int key)
{
    TableType* table = searchByKey(list, key, "ZELFetchTableLabelByKey");
    return table ? table->TableLabel : nullptr;
}

TableType* ZELCopyTable(TableType* table)
{
    TableType* copy = ZELAllocateTable(table->NumTableValues);
    copy->TableKeyValue = table->TableKeyValue;
    zel::copyText(copy->TableLabel, table->TableLabel);
    loadValues(copy, table->Table);
    return copy;
}

void ZELCopyTableList(TableListType* dest, TableListType* src)
{
    if (src->NumTables == 0) return;
    const int16_t count = src->NumTables;
    TableType* source = src->TableHead;
    dest->NumTables = 0;
    appendCopies(dest, source, count);
    dest->NumTables = count;
}

void ZELAppendTableList(TableListType* dest, TableListType* src)
{
    if (src->NumTables == 0) {
        report("ZELAppendTableList: No Tables to copy... continuing...\n");
        return;
    }
    const int total = dest->NumTables + src->NumTables;
    if (total > INT16_MAX) fail("ZELAppendTableList: a list holds at most %d Tables\n", INT16_MAX);
    appendCopies(dest, src->TableHead, src->NumTables);
    dest->NumTables = static_cast<int16_t>(total);
}

void ZELCopyFileTables(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    if (isReadOnly(*ZELdataDest))
        report("ZELCopyFileTables: Cannot copy Table to Read Only file... Ignoring...\n");
    else if (isOpenForWriting(*ZELdataDest))
        fail("ZELCopyFileTables: Cannot copy Table to a Write Only file after the file is "
             "opened...exiting...\n");
    else if (ZELdataSrc->ZELHeader.TableList.NumTables == 0)
        report("ZELCopyFileTables: No Tables to copy... continuing...\n");
    else
        ZELCopyTableList(&ZELdataDest->ZELHeader.TableList, &ZELdataSrc->ZELHeader.TableList);
}

void ZELAppendFileTables(ZELType* ZELdataDest, ZELType* ZELdataSrc)
{
    if (isReadOnly(*ZELdataDest))
        report("ZELAppendFileTables: Cannot copy Table to Read Only file... Ignoring...\n");
    else if (isOpenForWriting(*ZELdataDest))
        fail("ZELAppendFileTables: Cannot Append Table to a Write Only file after the file is "
             "opened...exiting...\n");
    else if (ZELdataSrc->ZELHeader.TableList.NumTables == 0)
        report("ZELAppendFileTables: No Tables to Append... continuing...\n");
    else
        ZELAppendTableList(&ZELdataDest->ZELHeader.TableList, &ZELdataSrc->ZELHeader.TableList);
}

// A table is in the list as soon as there is memory for it, so that a damaged one is freed with the
// rest. Whoever listens sees the values without the trace.
std::int64_t zel::readTables(RecordReader& reader, TableListType& list)
{
    const bool isTraced = !reader.listener();
    if (isTraced) report("ZELReadTables:NumTables %d\n", list.NumTables);
    TableReader tableReader(reader);
    TableTrace trace(tableReader, "ZELReadTables");
    TableType** end = &list.TableHead;
    *end = nullptr;
    for (int i = 0; i < list.NumTables; ++i, end = &(*end)->NextTable) {
        *end = allocateTable();
        reader.record(Level::block, "table", i);
        if (isTraced)
            walkTable(trace, **end);
        else
            walkTable(tableReader, **end);
    }
    if (isTraced) report("Table offset %d\n", static_cast<int>(tableReader.total()));
    return tableReader.total();
}

int ZELReadTables(FILE* fptr, TableListType* list)
{
    if (hasNoTables(list, "ZELReadTables")) return 0;
    zel::requireOpen(fptr, "ZELReadTables");
    const auto read = [&](zel::RecordReader& reader) { return zel::readTables(reader, *list); };
    return static_cast<int>(zel::readBlock(fptr, "ZELReadTables", read));
}

void ZELWriteTables(FILE* fptr, TableListType* list)
{
    if (hasNoTables(list, "ZELWriteTables")) return;
    zel::requireOpen(fptr, "ZELWriteTables");
    report("ZELWriteTables:NumTables %d\n", list->NumTables);
    list->TableStartOffset = static_cast<int32_t>(ftello(fptr));
    writeRecords(fptr, list, "ZELWriteTables");
}

void ZELUpdateTables(FILE* fptr, TableListType* list)
{
    if (hasNoTables(list, "ZELUpdateTables")) return;
    zel::requireOpen(fptr, "ZELUpdateTables");
    if (list->TableStartOffset <= 0 && zel::beginsWithPrefix(fptr)) {
        zel::reportTo(
            stderr,
            "ZELUpdateTables: warning: tables that were not written with the header of a file "
            "are not kept\n");
        return;
    }
    const auto write = [&] { writeRecords(fptr, list, "ZELUpdateTables"); };
    if (!zel::rewriteAt(fptr, list->TableStartOffset, write))
        fail("ZELUpdateTables: write error: %s\n", std::strerror(errno));
}

void ZELAddTestTables(ZELType* ZELdata)
{
    static constexpr struct {
        int key, values;
        const char* label;
    } tests[] = {{1, 5, "Test Table 1"}, {2, 7, "Test Table 2"}};
    for (const auto& test : tests) {
        TableType* table =
            ZELAddTable(&ZELdata->ZELHeader.TableList, test.key, test.values, test.label);
        if (!table) fail("ZELAddTestTables: Error in Table read...exiting\n");
        for (int i = 0; i < test.values; ++i) table->Table[i] = static_cast<float>(i);
    }
}

void ZELPrintTables(TableListType* list)
{
    if (hasNoTables(list, "ZELPrintTables")) return;
    report("%d Tables defined\n", list->NumTables);
    for (const TableType* table = list->TableHead; table; table = table->NextTable) {
        report("NumTableValues %d\n", table->NumTableValues);
        report("TableKeyValue %d\n", table->TableKeyValue);
        report("TableLabel %s\n", table->TableLabel);
        for (int i = 0; i < table->NumTableValues; ++i)
            report("%d: Value %f\n", i, static_cast<double>(table->Table[i]));
    }
}

void ZELFreeTables(TableListType* list)
{
    zel::freeNodes(firstOf(list), nextTable, ZELDeAllocateTable);
    list->NumTables = 0;
}
