#include "command_line.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>

namespace zel_combine {

CommandLineStruct CommandLineInfo;

namespace {

// What the next bare word means. The flags keep their state: a bare word behind one repeats it, and
// every bare word behind -ib is a further base file.
enum State {
    stray,
    input,
    output,
    multiResolution,
    sameResolution,
    baseComponent,
    overwrite,
    vorn,
    vornLabel,
    vornPrepend,
    featureHeader,
    vornHeader,
    vornLUT,
    vornColorcube,
    baseInput
};

struct Option {
    const char* word;
    State state;
    bool takesValue;
};

constexpr Option options[] = {{"-i", input, true},
                              {"-o", output, true},
                              {"-ib", baseInput, true},
                              {"-vorn", vorn, true},
                              {"-vorn_label", vornLabel, true},
                              {"-vorn_prepend", vornPrepend, true},
                              {"-vorn_hdr", vornHeader, true},
                              {"-feat_hdr", featureHeader, true},
                              {"-vorn_lut", vornLUT, true},
                              {"-vorn_lut_cc", vornColorcube, false},
                              {"-bc", baseComponent, true},
                              {"-multi_res", multiResolution, false},
                              {"-same_res", sameResolution, false},
                              {"-overwrite", overwrite, false}};

const Option* findOption(const char* word)
{
    for (const Option& option : options)
        if (std::strcmp(option.word, word) == 0) return &option;
    return nullptr;
}

// The texts of the present command line. Made when first used: memory that fails before main could
// not be told.
std::deque<std::string>& kept()
{
    static std::deque<std::string> texts;
    return texts;
}

char* keep(const char* text)
{
    return kept().emplace_back(text).data();
}

void addInput(CommandLineStruct& info, const char* name)
{
    if (info.numInputFiles == maxInputFiles)
        info.Errors = 1;
    else
        info.InputFileName[info.numInputFiles++] = keep(name);
}

// Carries out a word in its state; returns the state of the next.
State apply(CommandLineStruct& info, State state, const char* word)
{
    switch (state) {
    case stray:
        info.Errors = 1;
        return stray;
    case input:
        addInput(info, word);
        return stray;
    case output:
        info.OutputFileName = keep(word);
        return stray;
    case multiResolution:
        info.compositeFlag = 1;
        return multiResolution;
    case sameResolution:
        info.compositeFlag = 0;
        return sameResolution;
    case baseComponent:
        info.BaseComponent = std::atoi(word);
        return stray;
    case overwrite:
        info.overwritePromptFlag = 0;
        return overwrite;
    case vorn:
        info.vornFileName = keep(word);
        info.vornFlag = 1;
        info.compositeFlag = 0;
        return stray;
    case vornLabel:
        info.vornLabel = keep(word);
        return stray;
    case vornPrepend:
        info.vornPrepend = keep(word);
        return stray;
    case featureHeader:
        info.ZELFeatureHeader = keep(word);
        return stray;
    case vornHeader:
        info.vornHeader = keep(word);
        return stray;
    case vornLUT:
        info.vornLUT = keep(word);
        return stray;
    case vornColorcube:
        info.vornColorcubeFlag = 1;
        return stray;
    case baseInput:
        info.BaseFile = info.numInputFiles;
        addInput(info, word);
        return baseInput;
    }
    return stray;
}

void setDefaults(CommandLineStruct& info)
{
    const int argc = info.Argc;
    char** argv = info.Argv;
    kept().clear();
    info = CommandLineStruct{};
    info.Argc = argc;
    info.Argv = argv;
    info.BaseComponent = -1;
    info.compositeFlag = 1;
    info.overwritePromptFlag = 1;
}

}  // namespace

void ProcessCommandLine(CommandLineStruct* info)
{
    setDefaults(*info);
    State state = stray;
    for (int i = 1; i < info->Argc; ++i) {
        const Option* option = findOption(info->Argv[i]);
        if (option) state = option->state;
        if (!option || !option->takesValue) state = apply(*info, state, info->Argv[i]);
    }
    if (info->compositeFlag && info->vornFlag) {
        std::fputs("Error:  cannot generate composite output using Vorn input file\n", stdout);
        info->Errors = 1;
    }
    if (info->numInputFiles == 0) info->Errors = 1;
    if (!info->OutputFileName) info->Errors = 1;
}

void PrintCommandLineOptions(char** argv)
{
    std::printf(
        "\n"
        "Usage: %s [-i | -ib <ZEL input file> (may have several -i entries)] [-o <ZEL output file "
        "name>] [-multi_res | -same_res ] [-bc <base component>]\n"
        "\n"
        "Required parameters:\n"
        "    -i <ZEL input file> (at least one)\n"
        "    -o <ZEL output file name>\n"
        "Optional parameters:\n"
        "    -ib <zel filename> File to use as base ZEL file\n"
        "    \t(default is first input file)\n"
        "    -bc <component number (1..number of components)> base component of base ZEL file\n"
        "    \t(default is base component of base input file)\n"
        "    -multi_res output channels are written as a composite multi-resolution ZEL file "
        "(default)\n"
        "    -same_res all output channels are written at resolution of base ZEL file\n"
        "    -overwrite do not prompt to overwrite existing output file\n"
        "    -vorn <bin filename> Vorn binary file to combine (must match base resolution)\n"
        "    -vorn_label <\"Label Text\"> string to label new channel (default bin filename)\n"
        "    -vorn_prepend <\"Text\"> string to prepend to label new channel(s)\n"
        "    -vorn_hdr <filename>  text header file generated by zel_dump_channel, used for "
        "labeling\n"
        "    -vorn_lut <LUT filename> read LUT file and load Vorn file as LUT channel\n"
        "    -vorn_lut_cc  load Vorn file as LUT channel using colorcube\n"
        "    -feat_hdr <filename>  ZEL feature header file generated by zel_dump_channel, used for "
        "re-labeling classes\n"
        "\n",
        argv[0]);
}

}  // namespace zel_combine
