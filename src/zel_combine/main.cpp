#include "combine.h"
#include "command_line.h"

int main(int argc, char** argv)
{
    using zel_combine::CommandLineInfo;
    CommandLineInfo.Argc = argc;
    CommandLineInfo.Argv = argv;
    zel_combine::ProcessCommandLine(&CommandLineInfo);
    if (CommandLineInfo.Errors) {
        zel_combine::PrintCommandLineOptions(argv);
        return -1;
    }
    return CommandLineInfo.compositeFlag ? zel_combine::writeComposite(CommandLineInfo)
                                         : zel_combine::writeSameResolution(CommandLineInfo);
}
