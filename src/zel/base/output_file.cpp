#include "base/output_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// What a signal removes. The handler may do little: it finds plain text here.
constexpr int maxOutputs = 4;
char unfinished[maxOutputs][PATH_MAX];

extern "C" void removeUnfinished(int signal)
{
    for (const auto& path : unfinished)
        if (path[0] != '\0') unlink(path);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

// A signal that is ignored, as nohup has it, stays ignored.
void watchSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction old {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_DFL) std::signal(signal, removeUnfinished);
    }
}

// While one exists, no signal comes between the creation of a file and its entry in the list.
class SignalsHeld {
public:
    SignalsHeld()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, signal);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before_;
};

int remember(const std::string& path)
{
    watchSignals();
    for (int slot = 0; slot < maxOutputs; ++slot) {
        if (unfinished[slot][0] != '\0' || path.size() >= PATH_MAX) continue;
        std::memcpy(unfinished[slot] + 1, path.c_str() + 1, path.size());
        unfinished[slot][0] = path[0];
        return slot;
    }
    return -1;
}

[[noreturn]] void fail(const std::string& name, const char* doing, int error)
{
    throw Failure(format("cannot %s %s: %s", doing, printable(name).c_str(), std::strerror(error)));
}

// The file that a symbolic link leads to is replaced, not the link.
std::string resolved(const std::string& name)
{
    char* path = realpath(name.c_str(), nullptr);
    std::string text = path ? path : name;
    std::free(path);
    return text;
}

std::string temporaryBeside(const std::string& name)
{
    const auto slash = name.rfind('/');
    const std::string directory = slash == std::string::npos ? "" : name.substr(0, slash + 1);
    return directory + format(".zel-%ld.part", static_cast<long>(getpid()));
}

int createNew(std::string& path)
{
    const std::string first = path;
    for (int i = 1; i < 100; ++i) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (file >= 0 || errno != EEXIST) return file;
        path = first + format("-%d", i);
    }
    return -1;
}

// The place is negative for "after what is there".
bool writeAll(int file, std::string_view bytes, long long place)
{
    while (!bytes.empty()) {
        const ssize_t written = place < 0 ? ::write(file, bytes.data(), bytes.size())
                                          : pwrite(file, bytes.data(), bytes.size(), place);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
        if (place >= 0) place += written;
    }
    return true;
}

// A new name is given by a link, which never replaces a file that has come meanwhile; where there
// are no links, by renaming.
bool giveNewName(const std::string& temporary, const std::string& name)
{
    if (link(temporary.c_str(), name.c_str()) == 0) return unlink(temporary.c_str()) == 0;
    if (errno == EEXIST) return false;
    return rename(temporary.c_str(), name.c_str()) == 0;
}

}  // namespace

bool isSameFile(const std::string& a, const std::string& b)
{
    struct stat first {};
    struct stat second {};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

void requireOther(const std::string& input, const std::string& output)
{
    if (isSameFile(input, output))
        throw Failure("the output " + printable(output) + " is the input");
}

OutputFile::OutputFile(const std::string& name, Overwrite overwrite)
    : name_(name), path_(resolved(name)), overwrite_(overwrite)
{
    struct stat status {};
    const bool exists = stat(path_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) fail(name, "write", EISDIR);
    isDevice_ = exists && !S_ISREG(status.st_mode);
    if (isDevice_) {
        temporary_ = path_;
        descriptor_ = open(path_.c_str(), O_WRONLY);
    } else {
        if (exists && overwrite == Overwrite::no)
            throw Failure(printable(name) + " exists; --overwrite replaces it");
        const SignalsHeld held;
        temporary_ = temporaryBeside(path_);
        descriptor_ = createNew(temporary_);
        if (descriptor_ >= 0) slot_ = remember(temporary_);
    }
    if (descriptor_ < 0) fail(name, "create", errno);
    if (exists && !isDevice_) fchmod(descriptor_, status.st_mode & 07777U);
}

OutputFile::~OutputFile()
{
    if (descriptor_ >= 0) close(descriptor_);
    if (!isDevice_ && !temporary_.empty()) unlink(temporary_.c_str());
    forget();
}

void OutputFile::forget()
{
    temporary_.clear();
    if (slot_ >= 0) unfinished[slot_][0] = '\0';
    slot_ = -1;
}

void OutputFile::write(std::string_view bytes)
{
    writeAt(-1, bytes);
}

void OutputFile::writeAt(long long offset, std::string_view bytes)
{
    if (!writeAll(descriptor_, bytes, offset)) fail(name_, "write", errno);
}

// The bytes reach the disk before the name does, so that a crash of the machine leaves the old file
// or the whole new one.
void OutputFile::commit()
{
    const bool flushed = isDevice_ || fsync(descriptor_) == 0;
    const int flushError = errno;
    const bool closed = close(descriptor_) == 0;
    descriptor_ = -1;
    if (!flushed) fail(name_, "write", flushError);
    if (!closed) fail(name_, "write", errno);
    if (isDevice_) return;
    const bool named = overwrite_ == Overwrite::yes ? rename(temporary_.c_str(), path_.c_str()) == 0
                                                    : giveNewName(temporary_, path_);
    if (!named) fail(name_, "write", errno);
    forget();
}

}  // namespace zel_tool
