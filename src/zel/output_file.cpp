#include "output_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "failure.hpp"
#include "text.hpp"

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
    const std::string text = path ? path : name;
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

bool writeAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// So that a crash of the machine leaves the old file or the whole new one.
bool flushToDisk(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY);
    if (file < 0) return false;
    const bool flushed = fsync(file) == 0 || errno == EINVAL;
    const int error = errno;
    close(file);
    errno = error;
    return flushed;
}

// A new name is given by a link, which never replaces a file that has come meanwhile; where there are
// no links, by renaming.
bool giveNewName(const std::string& temporary, const std::string& name)
{
    if (link(temporary.c_str(), name.c_str()) == 0) return unlink(temporary.c_str()) == 0;
    if (errno == EEXIST) return false;
    return rename(temporary.c_str(), name.c_str()) == 0;
}

}  // namespace

OutputFile::OutputFile(const std::string& name, Overwrite overwrite)
    : name_(name), path_(resolved(name)), overwrite_(overwrite)
{
    struct stat status {};
    const bool exists = stat(path_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) fail(name, "write", EISDIR);
    isDevice_ = exists && !S_ISREG(status.st_mode);
    if (isDevice_) {
        temporary_ = path_;
        return;
    }
    if (exists && overwrite == Overwrite::no)
        throw Failure(printable(name) + " exists; --overwrite replaces it");
    temporary_ = temporaryBeside(path_);
    const int file = createNew(temporary_);
    if (file < 0) fail(name, "create", errno);
    if (exists) fchmod(file, status.st_mode & 07777U);
    close(file);
    slot_ = remember(temporary_);
}

OutputFile::~OutputFile()
{
    remove();
}

void OutputFile::remove()
{
    if (!isDevice_ && !temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
    if (slot_ >= 0) unfinished[slot_][0] = '\0';
    slot_ = -1;
}

void OutputFile::write(std::string_view bytes)
{
    const int file = open(temporary_.c_str(), O_WRONLY | O_TRUNC);
    bool whole = file >= 0 && writeAll(file, bytes);
    int error = errno;
    if (file >= 0 && close(file) != 0 && whole) {
        whole = false;
        error = errno;
    }
    if (!whole) fail(name_, "write", error);
}

void OutputFile::commit()
{
    if (isDevice_) return;
    const bool done = flushToDisk(temporary_) &&
                      (overwrite_ == Overwrite::yes ? rename(temporary_.c_str(), path_.c_str()) == 0
                                                    : giveNewName(temporary_, path_));
    const int error = errno;
    if (!done) remove();
    if (!done) fail(name_, "write", error);
    temporary_.clear();
    if (slot_ >= 0) unfinished[slot_][0] = '\0';
    slot_ = -1;
}

}  // namespace zel_tool
