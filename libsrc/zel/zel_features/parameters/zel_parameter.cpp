#include "zel_features/zel_parameter.h"

#include <cerrno>
#include <cstring>
#include <ctime>

#include "ground/memory.hpp"
#include "ground/same_file.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_expression.h"

const char* const IdentifierString = "ZEL_FEATURE_HEADER";
const char* const VersionNumber = "1.2";

const char* const subSamplingMethodLabel[4] = {"None", "Log10", "Log", "Sqrt"};
const char* const classTypeLabel[3] = {"Pixel", "Primary", "Elementary"};
const char* const dataTypeLabel[14] = {
    "Generic",        "AVHRR LAC",   "AVHRR GAC", "MAS",         "VIRS",
    "LANDSAT TM",     "GOES",        "MODIS",     "ASTER",       "Cirrovue VIRS",
    "Cirrovue MODIS", "Landsat MSS", "IKONOS",    "Unsupported",
};

namespace {

constexpr int defaultRandomSeed = 82497;

template <class Record>
Record& newRecord(const char* name)
{
    Record* record = zel::allocate<Record>(1);
    if (!record) zel::failWithError("%s: cannot allocate memory\n", name);
    return *record;
}

}  // namespace

namespace zel {

char* currentDateTime()
{
    char text[ZEL_FEATURE_LINE_SIZE + 1] = "";
    const std::time_t now = std::time(nullptr);
    // Not localtime, which reads the time zone and allocates memory on every call.
    std::tm local{};
    if (localtime_r(&now, &local)) std::strftime(text, sizeof text, "%T  %A %b %d %Y", &local);
    return copyString(text);
}

bool opensForReading(const char* filename)
{
    const int error = errno;
    const bool opens = isReadable(filename);
    errno = error;
    return opens;
}

bool isInput(const IOStruct& files, const char* name)
{
    const int error = errno;
    const InputStruct* input = files.inputListHead;
    while (input && !(input->Filename && isSameFile(input->Filename, name))) input = input->next;
    errno = error;
    return input != nullptr;
}

void freeFeatureInfo(ZELParameterStruct& parameters)
{
    ZELFeatureStruct& info = parameters.FeatureInfo;
    for (int i = 0; info.Label && i < parameters.Features.num; ++i) release(info.Label[i]);
    discard(info.Label);
    discard(info.Max);
    discard(info.Min);
}

OutputName& outputFilenameOverride()
{
    static OutputName theOverride;
    return theOverride;
}

}  // namespace zel

void ZELFeatureSetOutputFilename(const char* filename)
{
    zel::outputFilenameOverride() = {filename != nullptr, zel::Text(filename ? filename : "")};
}

void ZELFeatureInitializeParameters(ZELParameterStruct* Parameters)
{
    std::memset(Parameters, 0, sizeof *Parameters);
    Parameters->Header.IdentifierString = zel::copyString(IdentifierString);
    Parameters->Header.VersionNumber = zel::copyString(VersionNumber);
    Parameters->Header.DateTimeString = zel::currentDateTime();
    Parameters->RandomSeed = defaultRandomSeed;
}

void ZELFeatureFreeParameters(ZELParameterStruct* Parameters)
{
    zel::release(Parameters->Header.IdentifierString);
    zel::release(Parameters->Header.VersionNumber);
    zel::release(Parameters->Header.DateTimeString);
    freeInputList(&Parameters->IO);
    zel::freeFeatureInfo(*Parameters);
    for (CommandStruct* list :
         {&Parameters->Features, &Parameters->Conditions, &Parameters->Requirements,
          &Parameters->Filters, &Parameters->Comments, &Parameters->Title, &Parameters->Options})
        freeCommandList(list);
    for (char* name : Parameters->ClassInfo.name) zel::release(name);
    std::memset(Parameters, 0, sizeof *Parameters);
}

CommandListStruct* allocateNewCommand(CommandStruct* Command)
{
    CommandListStruct& entry = newRecord<CommandListStruct>("allocateNewCommand");
    (Command->ListHead ? Command->List->next : Command->ListHead) = &entry;
    Command->List = &entry;
    ++Command->num;
    return &entry;
}

void freeCommandList(CommandStruct* Command)
{
    for (CommandListStruct* entry = Command->ListHead; entry;) {
        CommandListStruct* next = entry->next;
        zel::release(entry->Label);
        ZELFreeStack(entry->Condition);
        ZELFreeStack(entry->Action);
        zel::release(entry);
        entry = next;
    }
    *Command = {};
}

InputStruct* allocateNewInput(IOStruct* IO)
{
    InputStruct& input = newRecord<InputStruct>("allocateNewInput");
    (IO->inputListHead ? IO->inputList->next : IO->inputListHead) = &input;
    IO->inputList = &input;
    ++IO->numInputFiles;
    return &input;
}

void freeInputList(IOStruct* IO)
{
    for (InputStruct* input = IO->inputListHead; input;) {
        InputStruct* next = input->next;
        zel::release(input->Filename);
        zel::release(input);
        input = next;
    }
    zel::release(IO->outputFilename);
    *IO = {};
}
