#include "archive/scratch_directory.hpp"

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

// Files only; it holds no directories.
void removeFiles(const std::string& path)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.c_str()), closedir);
    if (!directory) return;
    while (const dirent* entry = readdir(directory.get()))
        unlink((path + "/" + entry->d_name).c_str());
}

// Another run may have removed the directory between its opening and the lock.
bool isStillThere(int descriptor, const std::string& path)
{
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

std::string nameFor(const std::string& parent, const std::string& id)
{
    return parent + "/.zel-run-" + id;
}

}  // namespace

// Whoever has the lock has the directory. Where there are no locks, the name is new.
bool ScratchDirectory::take(const std::string& path)
{
    for (int i = 0; i < attempts; ++i) {
        const bool isNew = mkdir(path.c_str(), 0777) == 0;
        if (!isNew && errno != EEXIST)
            throw Failure(
                format("cannot create %s: %s", printable(path).c_str(), std::strerror(errno)));
        lock_ = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
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
    removeFiles(path_);
}

ScratchDirectory::~ScratchDirectory()
{
    removeFiles(path_);
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
