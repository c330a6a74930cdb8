#include "zel_features/mask/parameter_commands.hpp"

#include <charconv>
#include <climits>
#include <cstdio>

#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/mask/copy.hpp"
#include "zel_features/mask/file.hpp"
#include "zel_features/mask/zel_feature_mask.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_expression.h"
#include "zel_features/zel_feature_header.h"

namespace {

using std::string_view;
using zel::failAtLine;
using zel::MaskFile;
using zel::ParameterLines;
using zel::ProgramBlock;

CommandStruct& conditionsOf(ZELFeatureMaskType& mask)
{
    return zel::filterConditions(mask.MaskParameters,
                                 "ZELParseMaskParameterFile: cannot allocate FilterConditions\n");
}

// ---- Mask blocks ----

// Definitions outside the blocks apply to all masks that follow.
void beginMask(MaskFile& file)
{
    if (file.mask) failAtLine(file.line, "error: missing endmask before beginmask\n");
    file.mask = ZELFeatureAllocateNewMask(file.list.NumMasks);
    ZELFeatureAddMaskToList(&file.list, file.mask);
    file.typeGiven = false;
    zel::copyCommands(conditionsOf(*file.mask), file.list.Conditions);
}

bool isLevelOf(int maskType, int level)
{
    const int levels = maskType == ZEL_MASK_CASE ? 1 : ZEL_MASK_NUM_LEVELS;
    return level >= 0 && level < levels;
}

// The type may be given after the classifiers to which it applies.
void endMask(MaskFile& file)
{
    if (file.block)
        failAtLine(file.line, "error: endmask before %s block is complete\n", file.block->name);
    for (const ZELClassifierList* c = file.mask->ClassifierListHead; c; c = c->next)
        if (!isLevelOf(file.mask->MaskParameters.MaskType, c->ClassifierLevel))
            failAtLine(file.line, "invalid classifier level %d\n", c->ClassifierLevel);
    file.mask = nullptr;
}

// ---- Programs ----

constexpr ProgramBlock preprocess = {
    "preprocess", 0, &ZELMaskParameterType::PreProcessProgramTextHead,
    &ZELMaskParameterType::PreProcessHead,
    "ZELParseMaskParameterFile: cannot allocate PreProcessProgramPtr\n"};

constexpr ProgramBlock postprocess = {
    "postprocess", 1, &ZELMaskParameterType::PostProcessProgramTextHead,
    &ZELMaskParameterType::PostProcessHead,
    "ZELParseMaskParameterFile: cannot allocate PostProcessProgramPtr\n"};

template <const ProgramBlock& block>
void beginProgram(MaskFile& file)
{
    if (file.block)
        failAtLine(file.line, "error: begin%s before %s block is complete\n", block.name,
                   file.block->name);
    if (file.mask->MaskParameters.*block.text)
        failAtLine(file.line, "error: %s block previously declared\n", block.name);
    file.block = &block;
    file.lastLine = nullptr;
}

void addProgramLine(MaskFile& file)
{
    ProgramLines*& first = file.mask->MaskParameters.*file.block->text;
    file.lastLine = zel::appendProgramLine(first, file.lastLine, file.line.number(),
                                           file.block->allocationFailure);
    file.lastLine->text = zel::copyString(file.line.text());
}

template <const ProgramBlock& block>
void endProgram(MaskFile& file)
{
    if (file.block != &block)
        failAtLine(file.line, "error: missing begin%s before end%s\n", block.name, block.name);
    file.block = nullptr;
    ZELMaskParameterType& p = file.mask->MaskParameters;
    const CommandListStruct* definitions = conditionsOf(*file.mask).ListHead;
    if (!zel::compileProgram(p.*block.text, block.processFlag, definitions, p.*block.statements))
        zel::terminate(-1);
}

// ---- Expressions and texts ----

void readDefinitionCommand(MaskFile& file)
{
    zel::readDefinition(file.line, file.mask ? conditionsOf(*file.mask) : file.list.Conditions);
}

// A class list is compiled without the check: it has any number of values, and may be empty.
void readFilter(MaskFile& file, CommandStruct& filters, const char* word, bool actionIsList)
{
    string_view text = file.line.after(word);
    const CommandStruct& definitions = conditionsOf(*file.mask);
    CommandListStruct* entry = allocateNewCommand(&filters);
    entry->Condition =
        zel::compileFromLine(file.line, zel::takeUpToColon(text), definitions, "Condition ");
    entry->Action = zel::compileFromLine(file.line, zel::takeUpToColon(text), definitions,
                                         "Action ", !actionIsList);
    if (!text.empty()) entry->Label = zel::copyString(zel::unquoted(text));
}

void readPreClassFilter(MaskFile& file)
{
    readFilter(file, file.mask->MaskParameters.PreClassFilters, "preclassfilter", true);
}

void readPostClassFilter(MaskFile& file)
{
    readFilter(file, file.mask->MaskParameters.PostClassFilters, "postclassfilter", false);
}

void readComment(MaskFile& file)
{
    zel::readText(file.line, file.mask->MaskParameters.Comments);
}

void readTitle(MaskFile& file)
{
    zel::readText(file.line, file.mask->MaskParameters.Title);
}

// ---- Classifiers and settings ----

// The n-th word as an integer; 0 when there is none.
int integerAt(const ParameterLines& line, int n)
{
    const string_view word = line.word(n);
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (!word.empty() && (error != std::errc() || end != word.data() + word.size()))
        line.failSyntax();
    return number;
}

// The file is a feature header, and the classifier from there to the end.
void readClassifierFile(const ParameterLines& line, ZELClassifierList& classifier, FILE* stream)
{
    ZELFeatureReadHeader(stream, classifier.Parameters);
    zel::readFeatures(stream, [&](zel::FeatureReader& reader) {
        if (reader.remaining() > INT_MAX) failAtLine(line, "classifier is too large\n");
        zel::readClassifierData(reader, classifier, static_cast<int>(reader.remaining()));
    });
}

void readClassifierName(MaskFile& file)
{
    ZELMaskParameterType& p = file.mask->MaskParameters;
    const zel::Text name(file.line.word(1));
    const int type = integerAt(file.line, 2);
    const int level = integerAt(file.line, 3);
    if (type < 0)
        failAtLine(file.line, "invalid classifier type: %s\n",
                   zel::Text(file.line.word(2)).c_str());
    if (!isLevelOf(file.typeGiven ? p.MaskType : ZEL_MASK_HIERARCHICAL, level))
        failAtLine(file.line, "invalid classifier level %d\n", level);
    const zel::OpenedFile stream(std::fopen(name.c_str(), "rb"));
    if (!stream) failAtLine(file.line, "cannot open input file %s\n", name.c_str());
    ZELClassifierList& classifier = *ZELFeatureNewClassifierListEntry(file.mask);
    classifier.ClassifierType = type;
    classifier.ClassifierLevel = level;
    readClassifierFile(file.line, classifier, stream.get());
    InputStruct* input = allocateNewInput(&p.IO);
    input->Filename = zel::copyString(name);
}

constexpr zel::Word maskTypeWords[] = {{"case", ZEL_MASK_CASE},
                                       {"hierarchical", ZEL_MASK_HIERARCHICAL},
                                       {"hier", ZEL_MASK_HIERARCHICAL}};

void readMaskType(MaskFile& file)
{
    const zel::Text word(file.line.word(1));
    const auto type = zel::find(maskTypeWords, word);
    if (!type) {
        zel::printLine(file.line);
        printError(zel::message("invalid classifier type: %s\n", word.c_str()));
        zel::failWithError("  valid types are: \n  case\n  hierarchical or hier\n");
    }
    file.mask->MaskParameters.MaskType = *type;
    file.typeGiven = true;
}

void readSaveFilename(MaskFile& file)
{
    zel::setString(file.mask->MaskParameters.IO.outputFilename, file.line.word(1));
}

// ---- The tables ----

struct CommandRow {
    const char* word;
    bool inMask;  // allowed inside of a mask block only
    void (*read)(MaskFile& file);
};

// Inside of a program all other lines are its text.
constexpr CommandRow blockRows[] = {
    {"beginmask", false, beginMask},
    {"endmask", true, endMask},
    {"beginpreprocess", true, beginProgram<preprocess>},
    {"endpreprocess", true, endProgram<preprocess>},
    {"beginpostprocess", true, beginProgram<postprocess>},
    {"endpostprocess", true, endProgram<postprocess>},
};

constexpr CommandRow commandRows[] = {
    {"condition", false, readDefinitionCommand},
    {"variable", false, readDefinitionCommand},
    {"define", false, readDefinitionCommand},
    {"preclassfilter", true, readPreClassFilter},
    {"postclassfilter", true, readPostClassFilter},
    {"comment", true, readComment},
    {"title", true, readTitle},
    {"classifiername", true, readClassifierName},
    {"masktype", true, readMaskType},
    {"savemaskfilename", true, readSaveFilename},
};

template <std::size_t N>
const CommandRow* findRow(const CommandRow (&rows)[N], string_view word)
{
    for (const CommandRow& row : rows)
        if (zel::sameIgnoringCase(word, row.word)) return &row;
    return nullptr;
}

}  // namespace

void zel::readMaskLine(MaskFile& file)
{
    const CommandRow* row = findRow(blockRows, file.line.command());
    if (!row && file.block) return addProgramLine(file);
    if (!row) row = findRow(commandRows, file.line.command());
    if (!row) {
        printInfo(message("unknown command on line %d\n", file.line.number()));
        printInfo(message("ignored...\n"));
        return;
    }
    if (row->inMask && !file.mask)
        failAtLine(file.line, "error: command must be within a mask block\n");
    row->read(file);
}
