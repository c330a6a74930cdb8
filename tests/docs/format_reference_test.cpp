// The tables of docs/format.md against the records that the library reads and writes. A table is
// found by its heading, a field by its name in code type.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "support/format_document.hpp"
#include "support/outcome.hpp"
#include "support/places.hpp"
#include "zel/records/records.hpp"
#include "zel/zel.h"

namespace {

using zel_test::Bytes;
using zel_test::codesIn;
using zel_test::document;
using zel_test::Names;
using zel_test::sourceFile;
using zel_test::Strings;
using zel_test::valueOf;
using zel_test::versionOf;

const char* const forms[] = {"Prefix",
                             "Header",
                             "Channel record",
                             "Display LUT record",
                             "Display LUT entry",
                             "Value table record",
                             "Histogram record",
                             "Line record"};

// --- fields, as documented and as walked --------------------------------------------------------

struct Field {
    std::string name, type;
    long offset, size;
};

// A number of elements in a type is written out: "float32[NumNavPoints]" becomes "float32[3]".
std::string resolvedType(const std::string& type, const Names& names)
{
    const auto open = type.find('[');
    if (open == std::string::npos) return type;
    const std::string count = type.substr(open + 1, type.size() - open - 2);
    return type.substr(0, open) + "[" + std::to_string(valueOf(count, names)) + "]";
}

// The fields of a record in the layout of a version. The offsets are those of the document in the
// current one, and follow from the sizes in the others.
std::vector<Field> documentedFields(const std::string& heading, int version, const Names& names)
{
    const zel_test::DocTable& table = document().table(heading);
    std::vector<Field> fields;
    long place = 0;
    for (const Strings& row : table.rows) {
        const Strings code = codesIn(table.cell(row, "field"));
        if (code.empty() || versionOf(table.cell(row, "since")) > version) continue;
        const long size = valueOf(table.cell(row, "size"), names);
        const bool current = version == zel::currentVersion;
        fields.push_back({code[0], resolvedType(table.cell(row, "type"), names),
                          current ? valueOf(table.cell(row, "offset"), names) : place, size});
        place += size;
    }
    return fields;
}

template <class T>
std::string typeName()
{
    if (std::is_same_v<T, double>) return "float64";
    if (std::is_floating_point_v<T>) return "float32";
    return (std::is_signed_v<T> ? "int" : "uint") + std::to_string(8 * sizeof(T));
}

// A walker that writes down what it is shown.
class FieldCollector {
public:
    explicit FieldCollector(int version) : version_(version) {}
    bool since(int version) const { return version_ >= version; }
    void record(zel::Level, const char*, int = -1) {}
    template <class Record>
    void items(Record&)
    {
    }

    template <class T>
    void field(const char* name, T&)
    {
        add(name, typeName<T>(), sizeof(T));
    }
    template <std::size_t N>
    void text(const char* name, char (&)[N], int width)
    {
        add(name, "text", width);
    }
    template <class T>
    void array(const char* name, T*, int count)
    {
        const std::string type =
            std::is_same_v<T, char> ? "bytes" : typeName<T>() + "[" + std::to_string(count) + "]";
        add(name, type, static_cast<long>(sizeof(T)) * count);
    }

    std::vector<Field> fields;

private:
    void add(const char* name, const std::string& type, long size)
    {
        fields.push_back({name, type, place_, size});
        place_ += size;
    }

    int version_;
    long place_ = 0;
};

Strings lines(const std::vector<Field>& fields)
{
    Strings out;
    for (const Field& f : fields)
        out.push_back(std::to_string(f.offset) + " " + std::to_string(f.size) + " " + f.type + " " +
                      f.name);
    return out;
}

long sizeOf(const std::vector<Field>& fields)
{
    long size = 0;
    for (const Field& f : fields) size += f.size;
    return size;
}

// The document's fields in every version, from the first to the current, against a walk.
template <class Walk>
void expectWalked(const std::string& heading, const Names& names, Walk walk)
{
    for (int version = 100; version <= zel::currentVersion; ++version) {
        FieldCollector collector(version);
        walk(collector);
        EXPECT_EQ(lines(documentedFields(heading, version, names)), lines(collector.fields))
            << heading << ", version " << version;
    }
}

TEST(FormatReference, Prefix)
{
    zel::Prefix prefix{};
    expectWalked("Prefix", {}, [&](auto& w) { zel::walkPrefix(w, prefix); });
}

TEST(FormatReference, Header)
{
    ZELHeaderType header{};
    expectWalked("Header", {{"Blocks", 0}}, [&](auto& w) {
        zel::walkVersion(w, header);
        zel::walkHeaderStart(w, header);
        zel::walkHeaderEnd(w, header);
    });
}

TEST(FormatReference, DisplayLUTRecord)
{
    ZELDisplayLUTType lut{};
    ZELLUTType entry{};
    expectWalked("Display LUT record", {}, [&](auto& w) { zel::walkLUT(w, lut); });
    expectWalked("Display LUT entry", {}, [&](auto& w) { zel::walkLUTEntry(w, entry); });
    const zel_test::DocTable& table = document().table("Display LUT record");
    const Strings& entries = table.rows.back();
    for (const int n : {0, 1, 34})
        EXPECT_EQ(valueOf(table.cell(entries, "offset"), {}) +
                      valueOf(table.cell(entries, "size"), {{"NumLUTValues", n}}),
                  zel::lutRecordSize(n));
}

TEST(FormatReference, ValueTableRecord)
{
    for (const int n : {1, 5}) {
        const Names names = {{"NumTableValues", n}};
        TableType table{};
        table.NumTableValues = static_cast<std::int16_t>(n);
        expectWalked("Value table record", names, [&](auto& w) { zel::walkTable(w, table); });
        EXPECT_EQ(sizeOf(documentedFields("Value table record", 230, names)),
                  zel::tableRecordSize(n));
    }
}

TEST(FormatReference, HistogramRecord)
{
    for (const int n : {1, 256}) {
        const Names names = {{"NumHistogramBins", n}};
        ZELHistogramType histogram{};
        histogram.NumHistogramBins = static_cast<std::int16_t>(n);
        expectWalked("Histogram record", names, [&](auto& w) { zel::walkHistogram(w, histogram); });
        EXPECT_EQ(sizeOf(documentedFields("Histogram record", 230, names)),
                  zel::histogramRecordSize(n));
    }
}

TEST(FormatReference, LineRecord)
{
    const auto file = zel_test::zeroRecord();
    for (const int points : {1, 51}) {
        file->ZELHeader.NumNavPoints = points;
        file->ZELHeader.VersionNumber = ZEL_LIBRARY_VERSION;
        expectWalked("Line record", {{"NumNavPoints", points}},
                     [&](auto& w) { zel::walkLineStart(w, *file); });
        const zel_test::DocTable& table = document().table("Line record");
        EXPECT_EQ(valueOf(table.cell(table.rows.back(), "offset"), {{"NumNavPoints", points}}),
                  zel::navOffset(*file));
    }
}

TEST(FormatReference, ChannelRecordUpToItsBlocks)
{
    for (int version = 100; version <= zel::currentVersion; ++version) {
        ZELChannelType channel{};
        FieldCollector collector(version);
        zel::walkChannel(collector, channel);
        Strings documented = lines(documentedFields("Channel record", version, {}));
        const Strings walked = lines(collector.fields);
        ASSERT_GE(documented.size(), walked.size());
        documented.resize(walked.size());
        EXPECT_EQ(documented, walked) << version;
    }
}

// --- files made from the document alone ---------------------------------------------------------

// What the counts of these files are, and so the lengths that the document gives in terms of them.
const std::map<std::string, double> counts = {{"NumDisplayLUTs", 1},
                                              {"NumTables", 1},
                                              {"channel NumTables", 1},
                                              {"histogram presence", 1},
                                              {"standard histogram presence", 1},
                                              {"NumLUTValues", 2},
                                              {"NumTableValues", 3},
                                              {"NumHistogramBins", 4}};
const Bytes pixels = {1, 0, 2, 0, 3, 0, 0xE8, 3};  // 1, 2, 3 and 1000

int navPointsOf(int version)
{
    return version < 111 ? 51 : 2;
}

int slotsOf(int version)
{
    return version == 100 ? 20 : 2;
}

template <class T>
void put(Bytes& bytes, T value)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(&value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);  // little-endian, as the host is
}

void putNumber(Bytes& bytes, const std::string& type, double value)
{
    if (type == "uint8") return put(bytes, static_cast<unsigned char>(value));
    if (type == "int16") return put(bytes, static_cast<int16_t>(value));
    if (type == "int32") return put(bytes, static_cast<int32_t>(value));
    if (type == "float32") return put(bytes, static_cast<float>(value));
    if (type == "float64") return put(bytes, value);
    throw std::runtime_error("a number of the type " + type);
}

using Values = std::map<std::string, double>;

// Writes records row by row as the document has them.
class Scribe {
public:
    Scribe(int version, bool withBlocks) : version_(version), withBlocks_(withBlocks) {}

    // A record in which these fields have values, and the others are 0. A block that a row of the
    // document places after a field follows it.
    void record(const std::string& heading, const Values& values)
    {
        const zel_test::DocTable& table = document().table(heading);
        const std::size_t start = bytes.size();
        for (const Strings& row : table.rows) {
            if (versionOf(table.cell(row, "since")) > version_) continue;
            const Strings code = codesIn(table.cell(row, "field"));
            if (code.empty())
                block(table, row, bytes.size() - start);
            else
                field(table, row, values.contains(code[0]) ? values.at(code[0]) : 0.0);
        }
    }

    Bytes bytes;

private:
    void field(const zel_test::DocTable& table, const Strings& row, double value)
    {
        const auto size = static_cast<std::size_t>(valueOf(table.cell(row, "size"), names()));
        const std::size_t end = bytes.size() + size;
        const std::string type = table.cell(row, "type");
        const bool isNumber = type != "text" && type != "bytes" && !type.ends_with("]");
        if (isNumber) putNumber(bytes, type, value);
        bytes.resize(end);
    }

    void block(const zel_test::DocTable& table, const Strings& row, std::size_t place)
    {
        const std::string offset = table.cell(row, "offset");
        if (!offset.empty() && version_ == zel::currentVersion) {
            EXPECT_EQ(valueOf(offset, names()), static_cast<long>(place))
                << table.cell(row, "field");
        }
        const std::string name = table.cell(row, "field");
        if (name == "pixels")
            bytes.insert(bytes.end(), pixels.begin(), pixels.end());
        else if (name == "display LUT entries")
            for (int i = 0; i < counts.at("NumLUTValues"); ++i)
                record("Display LUT entry", {{"R", i}});
        else if (withBlocks_)
            record(headingOf(name), counts);
    }

    static std::string headingOf(const std::string& block)
    {
        static const std::map<std::string, std::string> headings = {
            {"display LUT records", "Display LUT record"},
            {"value table records", "Value table record"},
            {"histogram record", "Histogram record"}};
        return headings.at(block);
    }

    Names names() const
    {
        Names all = {{"NumNavPoints", navPointsOf(version_)}};
        for (const auto& [name, value] : counts) all[name] = static_cast<long>(value);
        return all;
    }

    int version_;
    bool withBlocks_;
};

// Everything in front of the first channel record.
Bytes header(int version, bool withBlocks)
{
    Scribe scribe(version, withBlocks);
    if (version >= 151) {
        scribe.record("Prefix", {{"number of components", 1}});
        std::memcpy(scribe.bytes.data(), "ZEL", 3);
        std::memcpy(scribe.bytes.data() + 3, "1.5", 3);
    }
    Values values = {{"VersionNumber", version / 100.0},
                     {"MaxNumChan", slotsOf(version)},
                     {"NPixelPerLine", 4},
                     {"NumNavPoints", navPointsOf(version)},
                     {"NavPointInterval", 1}};
    if (withBlocks) values.insert(counts.begin(), counts.end());
    scribe.record("Header", values);
    return scribe.bytes;
}

// Slot 0 holds unscaled 16-bit numbers, the others are empty.
Bytes channelRecords(int version, bool withBlocks)
{
    Values values = {{"ChannelPresentFlag", 1}, {"Type", 5}, {"DataByteSize", 2}};
    if (withBlocks) values.insert(counts.begin(), counts.end());
    Scribe full(version, withBlocks);
    full.record("Channel record", values);
    Scribe empty(version, false);
    for (int slot = 1; slot < slotsOf(version); ++slot) empty.record("Channel record", {});
    full.bytes.insert(full.bytes.end(), empty.bytes.begin(), empty.bytes.end());
    return full.bytes;
}

void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Strings versionsOfHistory()
{
    const zel_test::DocTable& table = document().table("Layout versions");
    Strings versions;
    for (const Strings& row : table.rows) versions.push_back(table.cell(row, "version"));
    return versions;
}

void expectReadBack(int version, bool withBlocks)
{
    Bytes bytes = header(version, withBlocks);
    append(bytes, channelRecords(version, withBlocks));
    // Below 1.41 lines begin later: each value of the header's table counts as 204 bytes, not 4.
    if (withBlocks && version >= 111 && version < 141) bytes.resize(bytes.size() + 3 * 200);
    const std::size_t headerOffset = bytes.size();
    for (const double time : {12.5, 13.5}) {
        Scribe line(version, false);
        line.record("Line record", {{"ScanTime", time}});
        append(bytes, line.bytes);
    }
    zel_test::OpenedFile file(bytes);
    ASSERT_EQ(file.result, 0) << file.outcome.out;
    EXPECT_EQ(file->HeaderOffset, static_cast<int>(headerOffset));
    EXPECT_EQ(file->NumLines, 2);
    ZELReadLine(file.get());
    ASSERT_EQ(ZELReadLine(file.get()), 4);
    EXPECT_EQ(file->ScanTime, 13.5);
    EXPECT_EQ(file->Channels[0].ChannelData[3], 1000.0F);
}

TEST(FormatReference, AFileMadeFromTheTablesIsReadBack)
{
    for (const std::string& version : versionsOfHistory()) {
        for (const bool withBlocks : {false, true}) {
            SCOPED_TRACE("version " + version + (withBlocks ? " with blocks" : ""));
            expectReadBack(versionOf(version), withBlocks);
        }
    }
}

// The reader names the field in which a file ends, and its offset.
TEST(FormatReference, AFileCutInAFieldOfTheChannelRecordEndsThere)
{
    const zel_test::TempDir directory;
    const std::string path = directory.path("cut.zel");
    for (const std::string& text : versionsOfHistory()) {
        const int version = versionOf(text);
        Bytes bytes = header(version, false);
        const auto start = static_cast<long>(bytes.size());
        append(bytes, channelRecords(version, false));
        for (const Field& f : documentedFields("Channel record", version, {})) {
            const auto end = static_cast<std::size_t>(start + f.offset + f.size - 1);
            zel_test::writeFile(path, Bytes(bytes.begin(), bytes.begin() + static_cast<long>(end)));
            const auto file = zel_test::zeroRecord();
            int result = 0;
            const zel_test::Outcome outcome =
                zel_test::run([&] { result = OpenReadOnlyFile(file.get(), path.c_str(), 0, 0); });
            EXPECT_EQ(result, -2) << text << " " << f.name;
            const std::string message = ": cut short in " + f.name + " at offset " +
                                        std::to_string(start + f.offset) + "\n";
            EXPECT_NE(outcome.out.find(message), std::string::npos)
                << text << " " << f.name << ": " << outcome.out;
        }
    }
}

// --- versions -----------------------------------------------------------------------------------

TEST(FormatReference, TheHistoryNamesTheFieldsThatEachVersionBrought)
{
    std::map<int, std::set<std::string>> brought;
    for (const char* heading : forms) {
        const zel_test::DocTable& table = document().table(heading);
        for (const Strings& row : table.rows) {
            const int version = versionOf(table.cell(row, "since"));
            for (const std::string& name : codesIn(table.cell(row, "field")))
                if (version != 0) brought[version].insert(name);
        }
    }
    std::map<int, std::set<std::string>> listed;
    const zel_test::DocTable& history = document().table("Layout versions");
    for (const Strings& row : history.rows) {
        const Strings names = codesIn(history.cell(row, "fields"));
        if (!names.empty())
            listed[versionOf(history.cell(row, "version"))].insert(names.begin(), names.end());
    }
    EXPECT_EQ(listed, brought);
    EXPECT_EQ(versionsOfHistory().front(), "1.00");
    const auto prefixed = std::find_if(
        history.rows.begin(), history.rows.end(),
        [&](const auto& row) { return history.cell(row, "what else").starts_with("the prefix"); });
    ASSERT_NE(prefixed, history.rows.end());
    EXPECT_EQ(history.cell(*prefixed, "version"), "1.51");
    EXPECT_EQ(versionsOfHistory().back(), ZEL_LIBRARY_VERSION_TEXT);
    EXPECT_EQ(versionOf(versionsOfHistory().back()), zel::currentVersion);
}

Strings sizesAt(int version)
{
    ZELHeaderType header{};
    zel::LayoutSize front(version);
    zel::LayoutSize back(version);
    zel::walkVersion(front, header);
    zel::walkHeaderStart(front, header);
    zel::walkHeaderEnd(back, header);
    const auto file = zel_test::zeroRecord();
    file->ZELHeader.VersionNumber = static_cast<float>(version) / 100;
    // The blocks' own fields were compared with the reader above.
    const long channel = sizeOf(documentedFields("Channel record", version, {}));
    return {std::to_string(front.bytes()), std::to_string(back.bytes()), std::to_string(channel),
            std::to_string(zel::navOffset(*file))};
}

TEST(FormatReference, SizesByVersion)
{
    const zel_test::DocTable& table = document().table("Sizes by version");
    std::size_t next = 0;
    Strings sizes;
    for (int version = 100; version <= zel::currentVersion; ++version) {
        if (next < table.rows.size() && versionOf(table.rows[next][0]) == version) {
            const Strings row(table.rows[next].begin() + 1, table.rows[next].end());
            EXPECT_NE(row, sizes) << "nothing changes in " << version;
            sizes = row;
            ++next;
        }
        EXPECT_EQ(sizes, sizesAt(version)) << version;
    }
    EXPECT_EQ(next, table.rows.size());
}

// --- codes and limits ---------------------------------------------------------------------------

// The constants of the public header, by name.
Names constants(const std::string& pattern)
{
    std::ifstream in(sourceFile("libsrc/zel/zel_types.h"));
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::regex enumerator("\\b(" + pattern + ")\\s*=\\s*(\\d+)");
    Names found;
    for (std::sregex_iterator it(text.begin(), text.end(), enumerator), end; it != end; ++it)
        found[(*it)[1]] = std::stol((*it)[2]);
    return found;
}

Names documentedConstants(const std::string& heading, const std::string& column)
{
    const zel_test::DocTable& table = document().table(heading);
    Names found;
    for (const Strings& row : table.rows)
        found[codesIn(table.cell(row, "constant")).at(0)] = std::stol(table.cell(row, column));
    return found;
}

std::string channelReport(int type, int units)
{
    const auto file = zel_test::zeroRecord();
    file->ZELHeader.MaxNumChan = 1;
    file->Channels[0].ChannelPresentFlag = 1;
    file->Channels[0].Type = type;
    file->Channels[0].Units = units;
    FILE* stream = std::tmpfile();
    ZELPrintChannelInfo(file.get(), stream);
    const std::string report = zel_test::contentOf(stream);
    std::fclose(stream);
    return report;
}

bool hasLine(const std::string& text, const std::string& line)
{
    return text.find("\n" + line + "\n") != std::string::npos;
}

TEST(FormatReference, StorageCodes)
{
    EXPECT_EQ(documentedConstants("Storage codes", "code"), constants("ZEL_STORED_\\w+"));
    const zel_test::DocTable& table = document().table("Storage codes");
    for (const Strings& row : table.rows) {
        const int code = std::stoi(table.cell(row, "code"));
        EXPECT_EQ(table.cell(row, "bytes"), std::to_string(zel::storedPixelSize(code)));
        EXPECT_TRUE(hasLine(channelReport(code, 0), table.cell(row, "report"))) << code;
    }
}

TEST(FormatReference, Units)
{
    EXPECT_EQ(documentedConstants("Units", "code"), constants("ZEL_UNITS_\\w+"));
    const zel_test::DocTable& table = document().table("Units");
    for (const Strings& row : table.rows) {
        const int code = std::stoi(table.cell(row, "code"));
        EXPECT_TRUE(hasLine(channelReport(1, code), "Units: " + table.cell(row, "report"))) << code;
    }
}

TEST(FormatReference, Sensors)
{
    EXPECT_EQ(documentedConstants("Sensors", "code"), constants("ZEL_SENSOR_\\w+"));
    const zel_test::DocTable& table = document().table("Sensors");
    for (const Strings& row : table.rows) {
        std::string name = "ZEL_SENSOR_" + table.cell(row, "name");
        for (char& c : name)
            c = c == ' ' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        EXPECT_EQ(codesIn(table.cell(row, "constant")).at(0), name);
    }
}

TEST(FormatReference, Limits)
{
    Names sizes = constants("(?:ZEL_MAX_\\w+|ZEL_\\w+_SIZE|composite\\w+)");
    sizes.erase("ZEL_FILENAME_SIZE");  // of a record in memory
    EXPECT_EQ(documentedConstants("Limits", "value"), sizes);
}

TEST(FormatReference, EveryTableIsOneOfThese)
{
    std::set<std::string> known(std::begin(forms), std::end(forms));
    known.insert(
        {"Storage codes", "Units", "Sensors", "Limits", "Layout versions", "Sizes by version"});
    std::set<std::string> found;
    for (const auto& [heading, table] : document().tables) {
        found.insert(heading);
        for (const Strings& row : table.rows)
            EXPECT_EQ(row.size(), table.columns.size()) << heading << ": " << row.at(0);
    }
    EXPECT_EQ(found, known);
    EXPECT_EQ(document().numTables, static_cast<int>(known.size()))
        << "two tables under one heading";
}

}  // namespace
