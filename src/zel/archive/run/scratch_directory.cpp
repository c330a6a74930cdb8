#include "archive/run/scratch_directory.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr int attempts = 10;

constexpr int asDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Files only; it holds no directories. They are those of the directory that is open, whatever has
// its name by now.
void removeFiles(int opened)
{
    const int own = openat(opened, ".", asDirectory);
    if (own < 0) return;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(fdopendir(own), closedir);
    if (!directory) return;
    while (const dirent* entry = readdir(directory.get())) unlinkat(own, entry->d_name, 0);
}

// Another run may have removed the directory between its opening and the lock.
bool isStillThere(int descriptor, const std::string& path)
{
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && lstat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

std::string nameFor(const std::string& parent, const std::string& id)
{
    return parent + "/.zel-run-" + id;
}

}  // namespace

// Whoever has the lock has the directory. Where there are no locks, the name is new. A link is
// never followed: what it leads to is not ours to empty.
bool ScratchDirectory::take(const std::string& path)
{
    for (int i = 0; i < attempts; ++i) {
        const bool isNew = mkdir(path.c_str(), 0777) == 0;
        if (!isNew && errno != EEXIST)
            throw Failure(
                format("cannot create %s: %s", printable(path).c_str(), std::strerror(errno)));
        lock_ = open(path.c_str(), asDirectory);
        const bool locked = lock_ >= 0 && flock(lock_, LOCK_EX | LOCK_NB) == 0;
        const bool isHeld = !locked && errno == EWOULDBLOCK;
        if (lock_ >= 0 && isStillThere(lock_, path) && (locked || (isNew && !isHeld))) {
            path_ = path;
            return true;
        }
        if (lock_ >= 0) close(lock_);
        lock_ = -1;
        if (isHeld) return false;
    }
    return false;
}

ScratchDirectory::ScratchDirectory(const std::string& parent, const std::string& id)
{
    const std::string path = nameFor(parent, id);
    if (!take(path) && !take(path + format("-%ld", static_cast<long>(getpid()))))
        throw Failure("cannot lock " + printable(path));
    removeFiles(lock_);
}

ScratchDirectory::~ScratchDirectory()
{
    removeFiles(lock_);
    rmdir(path_.c_str());
    if (lock_ >= 0) close(lock_);
}

void ScratchDirectory::removeLeft(const std::string& parent, const std::string& id)
{
    if (access(nameFor(parent, id).c_str(), F_OK) != 0) return;
    const ScratchDirectory left(parent, id);
}

std::string ScratchDirectory::withoutIt(std::string text) const
{
    const std::string before = path_ + "/";
    for (auto at = text.find(before); at != std::string::npos; at = text.find(before, at))
        text.erase(at, before.size());
    return text;
}

}  // namespace zel_tool
