// The command line of zel_combine.
#ifndef ZEL_COMBINE_COMMAND_LINE_HPP
#define ZEL_COMBINE_COMMAND_LINE_HPP

#include <string>

namespace zel_combine {

inline constexpr int maxInputFiles = 20;

// What the arguments ask for. Texts live to the end of the run, or until the next command line.
struct CommandLineStruct {
    int Argc;
    char** Argv;
    char* InputFileName[maxInputFiles];  // in command-line order
    char* OutputFileName;
    char* vornFileName;
    char* vornLabel;
    char* vornLUT;
    char* vornPrepend;
    char* vornHeader;
    char* ZELFeatureHeader;
    int numInputFiles;
    int BaseFile;       // index of the base input file
    int BaseComponent;  // as typed after -bc
    int Errors;         // the usage is to be printed instead of a run
    int compositeFlag;  // 1: multi-resolution composite; 0: one file at the base resolution
    int vornFlag;
    int vornColorcubeFlag;
    int overwritePromptFlag;
};

extern CommandLineStruct CommandLineInfo;

// Fills the record from its Argc and Argv; errors in the arguments set Errors.
void ProcessCommandLine(CommandLineStruct* CommandLineInfo);

// Prints the usage text on standard output, with the program's name from argv[0].
void PrintCommandLineOptions(char** argv);

}  // namespace zel_combine

#endif
