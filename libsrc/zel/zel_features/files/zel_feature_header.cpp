#include "zel_features/zel_feature_header.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "ground/memory.hpp"
#include "zel_features/files/records.hpp"
#include "zel_features/files/zel_feature_header.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"

namespace {

[[noreturn]] void failWithoutHeader()
{
    errno = 0;  // nothing that the system refused
    zel::failWithError("Error: file does not contain ZEL Feature header\n");
}

void readIdentifier(zel::FeatureReader& reader)
{
    char identifier[zel::identifierSize] = "";
    zel::walkIdentifier(reader, identifier);
    const bool isHeader = std::equal(std::begin(identifier), std::end(identifier), IdentifierString,
                                     IdentifierString + zel::identifierSize);
    if (!isHeader) failWithoutHeader();
}

void readList(FILE* fptr, CommandStruct& list, bool check, const CommandListStruct* definitions)
{
    zel::readFeatures(fptr, [&](zel::FeatureReader& reader) {
        reader.setCheck(check);
        zel::walkList(reader, list, definitions);
    });
}

// Labels without an owner yet.
struct NewLabels {
    char** all = nullptr;
    int count = 0;

    NewLabels() = default;
    NewLabels(const NewLabels&) = delete;
    NewLabels& operator=(const NewLabels&) = delete;
    ~NewLabels()
    {
        for (int i = 0; all && i < count; ++i) zel::release(all[i]);
        zel::release(all);
    }
};

// What was written before has to reach the file first.
void goTo(FILE* fptr, off_t position)
{
    if (fseeko(fptr, position, SEEK_SET) != 0) zel::failWithError("FileWrite error:");
}

}  // namespace

namespace zel {

void makeFeatureInfo(ZELParameterStruct& p, const char* maxFailure, const char* minFailure)
{
    freeFeatureInfo(p);
    const auto features = static_cast<std::size_t>(p.Features.num);
    p.FeatureInfo.Label = CreateLabels(&p.Features);
    p.FeatureInfo.Max = allocate<float>(features);
    if (!p.FeatureInfo.Max) failWithError("%s", maxFailure);
    p.FeatureInfo.Min = allocate<float>(features);
    if (!p.FeatureInfo.Min) failWithError("%s", minFailure);
}

void readFeatureHeader(FeatureReader& reader, ZELParameterStruct& p)
{
    ZELFeatureInitializeParameters(&p);
    readIdentifier(reader);
    walkHeader(reader, p);
    makeFeatureInfo(p, "ZELFeatureReadHeader: Parameters->FeatureInfo.Max calloc error\n",
                    "ZELFeatureReadHeader: Parameters->FeatureInfo.Min calloc error\n");
    walkHeaderEnd(reader, p);
}

void writeFeatureHeader(FeatureWriter& writer, ZELParameterStruct& p)
{
    if (p.Features.num > 0 && (!p.FeatureInfo.Max || !p.FeatureInfo.Min))
        failWithError("ZELFeatureWriteHeader: %d features without ranges\n", p.Features.num);
    ZELParameterStruct stored = p;
    Text version = VersionNumber;
    stored.Header.VersionNumber = version.data();
    std::fill(std::begin(stored.ClassInfo.Count), std::end(stored.ClassInfo.Count), 0);
    char identifier[identifierSize];
    std::memcpy(identifier, IdentifierString, sizeof identifier);

    walkIdentifier(writer, identifier);
    walkHeader(writer, stored);
    walkHeaderEnd(writer, stored);
    p.ClassOffset = stored.ClassOffset;
    p.FeatureOffset = stored.FeatureOffset;
}

}  // namespace zel

// Nothing reads this form.
void ZELWriteStack(FILE* fptr, const ZELStackStruct* stack)
{
    zel::FeatureWriter writer(fptr);
    writer.expression("expression", stack);
    writer.field("elements", stack->numStackElements);
    for (const StackElementStruct* e = stack->stackHead; e; e = e->nextElement) {
        std::int32_t operand = 0;
        std::memcpy(&operand, &e->op, sizeof operand);
        writer.field("type", e->type);
        writer.field("operand", operand);
    }
}

void ZELWriteCommandList(FILE* fptr, const CommandListStruct* entry)
{
    zel::FeatureWriter writer(fptr);
    CommandListStruct stored = *entry;
    zel::walkEntry(writer, stored);
}

void ZELReadCommandList(FILE* fptr, CommandListStruct* entry, int parseFlag,
                        const CommandListStruct* definedConditions)
{
    entry->Label = nullptr;
    entry->Condition = entry->Action = nullptr;
    zel::readFeatures(fptr, [&](zel::FeatureReader& reader) {
        reader.setCheck(parseFlag != 0);
        reader.setDefinitions(definedConditions);
        zel::walkEntry(reader, *entry);
    });
}

void ZELWriteCommand(FILE* fptr, const CommandStruct* Command)
{
    zel::FeatureWriter writer(fptr);
    CommandStruct stored = Command ? *Command : CommandStruct{};
    zel::walkList(writer, stored, nullptr);
}

void ZELReadCommand(FILE* fptr, CommandStruct* Command, const CommandListStruct* definedConditions)
{
    readList(fptr, *Command, true, definedConditions);
}

void ZELReadList(FILE* fptr, CommandStruct* Command, const CommandListStruct* definedConditions)
{
    readList(fptr, *Command, false, definedConditions);
}

int ZELFeatureWriteHeader(FILE* fptr, ZELParameterStruct* Parameters)
{
    zel::FeatureWriter writer(fptr);
    zel::writeFeatureHeader(writer, *Parameters);
    return static_cast<int>(std::ftell(fptr));
}

int ZELFeatureReadHeader(FILE* fptr, ZELParameterStruct* Parameters)
{
    return zel::readFeatures(fptr, [&](zel::FeatureReader& reader) {
        std::memset(Parameters, 0, sizeof *Parameters);
        if (reader.remaining() < zel::identifierSize) failWithoutHeader();
        zel::readFeatureHeader(reader, *Parameters);
        return static_cast<int>(reader.position());
    });
}

void ZELFeatureUpdateHeaderInfo(FILE* fptr, const ZELParameterStruct* Parameters)
{
    zel::FeatureWriter writer(fptr);
    const off_t position = ftello(fptr);
    goTo(fptr, Parameters->ClassOffset);
    zel::walkClassCounts(writer, Parameters->ClassInfo);
    goTo(fptr, Parameters->FeatureOffset);
    zel::walkRanges(writer, Parameters->FeatureInfo, Parameters->Features.num);
    goTo(fptr, position);
}

char** CreateLabels(const CommandStruct* Command)
{
    NewLabels labels;
    labels.all = zel::allocate<char*>(static_cast<std::size_t>(Command->num));
    if (!labels.all) zel::failWithError("CreateLabels: cannot allocate memory\n");
    for (const CommandListStruct* entry = Command->ListHead; entry; entry = entry->next) {
        const char* text = entry->Condition ? entry->Condition->expression : nullptr;
        labels.all[labels.count] = zel::copyNullable(entry->Label ? entry->Label : text);
        ++labels.count;
    }
    return std::exchange(labels.all, nullptr);
}
