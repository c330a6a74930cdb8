#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>

#include "combine.h"
#include "command_line.h"

namespace {

constexpr int failed = -1;

// A quota that is reached is a write error like any other, and messages that nobody reads are no
// reason to leave a file half written: neither shall end the run without a word.
void ignoreSignals()
{
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

int run(int argc, char** argv)
{
    using zel_combine::CommandLineInfo;
    CommandLineInfo.Argc = argc;
    CommandLineInfo.Argv = argv;
    zel_combine::ProcessCommandLine(&CommandLineInfo);
    if (CommandLineInfo.Errors) {
        zel_combine::PrintCommandLineOptions(argv);
        return failed;
    }
    return CommandLineInfo.compositeFlag ? zel_combine::writeComposite(CommandLineInfo)
                                         : zel_combine::writeSameResolution(CommandLineInfo);
}

// The output is whole without its messages.
void warnOfLostMessages()
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
    std::fprintf(stderr, "zel_combine: warning: messages were lost on standard output: %s\n",
                 std::strerror(errno));
}

}  // namespace

int main(int argc, char** argv)
{
    ignoreSignals();
    try {
        const int status = run(argc, argv);
        warnOfLostMessages();
        return status;
    } catch (const std::bad_alloc&) {
        std::printf("zel_combine: Error: cannot allocate memory\n");
        return failed;
    }
}
