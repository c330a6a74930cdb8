#include "zel_features/parameters/commands.hpp"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>

#include "ground/text_number.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"

namespace {

using std::string_view;
using zel::ParameterFile;
using zel::ParameterLines;
using zel::Word;

// ---- Expressions ----

// The label is what follows the last field of an expression command, if anything does.
void readLabel(CommandListStruct& entry, string_view rest)
{
    if (!rest.empty()) entry.Label = zel::copyString(zel::unquoted(rest));
}

void readCondition(ParameterFile& file, CommandStruct& list, const char* word)
{
    string_view text = file.line.after(word);
    CommandListStruct* entry = allocateNewCommand(&list);
    entry->Condition =
        zel::compileFromLine(file.line, zel::takeUpToColon(text), file.parameters.Conditions);
    readLabel(*entry, text);
}

void readDefinitionCommand(ParameterFile& file)
{
    zel::readDefinition(file.line, file.parameters.Conditions);
}

void readRequirement(ParameterFile& file)
{
    readCondition(file, file.parameters.Requirements, "requirement");
}

void readOption(ParameterFile& file)
{
    readCondition(file, file.parameters.Options, "option");
}

void readFeature(ParameterFile& file)
{
    readCondition(file, file.parameters.Features, "feature");
    if (!file.parameters.Features.List->Condition)
        zel::failWithError("!!!!condition NULL after parse!!!!!!!!\n");
}

void readFilter(ParameterFile& file)
{
    string_view text = file.line.after("filter");
    CommandListStruct* entry = allocateNewCommand(&file.parameters.Filters);
    const CommandStruct& definitions = file.parameters.Conditions;
    entry->Condition = zel::compileFromLine(file.line, zel::takeUpToColon(text), definitions);
    entry->Action = zel::compileFromLine(file.line, zel::takeUpToColon(text), definitions);
    readLabel(*entry, text);
}

void readComment(ParameterFile& file)
{
    zel::readText(file.line, file.parameters.Comments);
}

void readTitle(ParameterFile& file)
{
    zel::readText(file.line, file.parameters.Title);
}

// ---- Input and output files ----

void addInput(ZELParameterStruct& parameters, string_view filename)
{
    InputStruct* input = allocateNewInput(&parameters.IO);
    input->Filename = zel::copyString(filename);
}

void readInputFilename(ParameterFile& file)
{
    const zel::Text name(file.line.word(1));
    if (FILE* stream = std::fopen(name.c_str(), "rb")) {
        std::fclose(stream);
        addInput(file.parameters, name);
        return;
    }
    printError(zel::message("cannot open input file %s... file will be skipped\n", name.c_str()));
    errno = 0;
}

[[noreturn]] void failWithoutColon(const ParameterLines& line)
{
    zel::printLine(line);
    zel::failWithError("missing colon separator\n");
}

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

// The name of the directory, and what its entries are compared with.
struct Listing {
    zel::Text directory;
    zel::Text pattern;
};

Listing readListing(const ParameterLines& line)
{
    string_view pattern = line.text();
    if (pattern.find(':') == string_view::npos) failWithoutColon(line);
    zel::takeUpToColon(pattern);
    string_view word = line.word(1);
    Listing listing{zel::Text(zel::takeUpToColon(word)), zel::Text(pattern)};
    if (!listing.directory.ends_with('/')) listing.directory += '/';
    std::erase_if(listing.pattern, zel::isBlank);
    return listing;
}

template <class Matches>
void readDirectory(ParameterFile& file, Matches matches)
{
    const Listing listing = readListing(file.line);
    file.directoryGiven = true;
    const std::unique_ptr<DIR, CloseDirectory> directory(opendir(listing.directory.c_str()));
    if (!directory)
        zel::failWithError("cannot get listing of input directory %s\n", listing.directory.c_str());
    while (const dirent* entry = readdir(directory.get())) {
        const string_view name = entry->d_name;
        if (matches(name, string_view(listing.pattern)))
            addInput(file.parameters, listing.directory + entry->d_name);
    }
}

void readDirectoryByString(ParameterFile& file)
{
    readDirectory(file, [](string_view name, string_view pattern) {
        return name.find(pattern) != string_view::npos;
    });
}

// Only the first occurrence of the extension counts: a.img.img does not end with .img.
void readDirectoryByExtension(ParameterFile& file)
{
    readDirectory(file, [](string_view name, string_view extension) {
        const std::size_t found = name.find(extension);
        return found != string_view::npos && found + extension.size() == name.size();
    });
}

void readOutputFilename(ParameterFile& file)
{
    char*& output = file.parameters.IO.outputFilename;
    if (output) {
        zel::printLine(file.line);
        zel::failWithError("outputfilename previously declared!\n");
    }
    const string_view name = file.line.word(1);
    if (!name.empty()) output = zel::copyString(name);
}

// ---- Settings ----

void readIgnoreRequirements(ParameterFile& file)
{
    file.parameters.IgnoreRequirementFlag = 1;
}

void readRandomSeed(ParameterFile& file)
{
    file.parameters.RandomSeed = zel::leadingInteger(file.line.word(1));
}

// The label ends at its closing quote or at the next ":", whichever comes first; the colours follow
// the ":".
string_view takeClassLabel(string_view& text)
{
    const std::size_t opening = text.find('"');
    if (opening == string_view::npos || opening > text.find(':')) return zel::takeUpToColon(text);
    text.remove_prefix(opening + 1);
    const std::size_t end = std::min(text.find_first_of(":\""), text.size());
    const string_view label = text.substr(0, end);
    text.remove_prefix(end);
    zel::takeUpToColon(text);
    return label;
}

int takeInteger(string_view& text)
{
    const auto isGap = [](char c) { return zel::isBlank(c); };
    const auto begin = std::find_if_not(text.begin(), text.end(), isGap);
    const auto end = std::find_if(begin, text.end(), isGap);
    const string_view word(begin, end);
    text = string_view(end, text.end());
    return zel::leadingInteger(word);
}

void readClass(ParameterFile& file)
{
    string_view text = file.line.text();
    if (text.find(':') == string_view::npos) failWithoutColon(file.line);
    zel::takeUpToColon(text);
    const int number = zel::leadingInteger(file.line.word(1));
    if (number < 0 || number >= ZEL_FEATURE_NUM_CLASSES) {
        printError(zel::message("line %d: class %d is not in 0..999, ignored\n", file.line.number(),
                                number));
        return;
    }
    ZELClassStruct& classes = file.parameters.ClassInfo;
    zel::setString(classes.name[number], takeClassLabel(text));
    for (int* colour : {classes.Red, classes.Green, classes.Blue})
        colour[number] = takeInteger(text);
}

constexpr Word subSamplingWords[] = {{"none", 0}, {"log10", 1}, {"log", 2}, {"sqrt", 3}};

// A number n means every n-th and is kept as -n.
void readSubSample(ParameterFile& file)
{
    const string_view word = file.line.word(1);
    const auto method = zel::find(subSamplingWords, word);
    file.parameters.SubSamplingMethod =
        method ? *method : -std::max(zel::leadingInteger(word), -INT_MAX);
}

constexpr Word classTypeWords[] = {{"pixel", 0}, {"primary", 1}, {"elementary", 2}};

void readClassType(ParameterFile& file)
{
    if (const auto type = zel::find(classTypeWords, file.line.word(1)))
        file.parameters.ClassType = *type;
    else
        printError(zel::message("line %d: unknown class type\n", file.line.number()));
}

// Not the order of the labels: files depend on 13 for ikonos, and 14 has no label.
constexpr Word dataTypeWords[] = {
    {"generic", 0}, {"avhrr_lac", 1},    {"avhrr_gac", 2}, {"mas", 3},
    {"virs", 4},    {"landsat_tm", 5},   {"goes", 6},      {"modis", 7},
    {"aster", 8},   {"landsat_mss", 11}, {"ikonos", 13},   {"msg", 14},
};

void readDataType(ParameterFile& file)
{
    if (const auto type = zel::find(dataTypeWords, file.line.word(1)))
        file.parameters.DataType = *type;
    else
        printError(zel::message("line %d: unknown data type\n", file.line.number()));
}

struct CommandRow {
    const char* word;
    void (*read)(ParameterFile& file);
};

constexpr CommandRow commandRows[] = {
    {"condition", readDefinitionCommand},
    {"variable", readDefinitionCommand},
    {"define", readDefinitionCommand},
    {"ignorerequirements", readIgnoreRequirements},
    {"requirement", readRequirement},
    {"option", readOption},
    {"feature", readFeature},
    {"filter", readFilter},
    {"comment", readComment},
    {"title", readTitle},
    {"inputdirstr", readDirectoryByString},
    {"inputdirext", readDirectoryByExtension},
    {"inputfilename", readInputFilename},
    {"randomseed", readRandomSeed},
    {"outputfilename", readOutputFilename},
    {"class", readClass},
    {"subsample", readSubSample},
    {"classtype", readClassType},
    {"datatype", readDataType},
};

}  // namespace

namespace zel {

void readCommand(ParameterFile& file)
{
    for (const CommandRow& row : commandRows)
        if (sameIgnoringCase(file.line.command(), row.word)) return row.read(file);
    printInfo(message("unknown command on line %d\nignored...\n", file.line.number()));
}

}  // namespace zel
