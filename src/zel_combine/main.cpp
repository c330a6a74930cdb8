#include <fcntl.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
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

// A file opened in the place of a closed standard stream would answer questions, or get the messages
// between its bytes. What takes the place can only be read: messages that are lost are told as such.
bool occupyStandardStreams()
{
    for (int stream = 0; stream < 3; ++stream)
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) != stream) return false;
    return true;
}

// What follows an answer on standard input belongs to whoever reads it next.
void readNothingAhead()
{
    std::setvbuf(stdin, nullptr, _IONBF, 0);
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

// However the run ends. An output is whole without its messages.
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
    if (!occupyStandardStreams() || std::atexit(warnOfLostMessages) != 0) return failed;
    readNothingAhead();
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::printf("zel_combine: Error: cannot allocate memory\n");
        return failed;
    }
}
