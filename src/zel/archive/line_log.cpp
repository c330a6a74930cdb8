#include "archive/line_log.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/failure.hpp"
#include "base/progress.hpp"
#include "base/report.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

// Where the last line begins that has no end; the size of the file when all have one, or when it
// cannot be read.
off_t beginOfCutLine(int descriptor, off_t size)
{
    std::array<char, 4096> block{};
    off_t end = size;
    while (end > 0) {
        const auto wanted = std::min<off_t>(end, static_cast<off_t>(block.size()));
        const ssize_t got =
            pread(descriptor, block.data(), static_cast<std::size_t>(wanted), end - wanted);
        if (got != wanted) return size;
        const std::string_view text(block.data(), static_cast<std::size_t>(wanted));
        const auto last = text.rfind('\n');
        if (last != std::string_view::npos) return end - wanted + static_cast<off_t>(last) + 1;
        end -= wanted;
    }
    return 0;
}

}  // namespace

LineLog::LineLog(const std::string& name) : name_(name.empty() ? "standard output" : name)
{
    if (name.empty()) return;
    descriptor_ = open(name.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno == EACCES)
        descriptor_ = open(name.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (descriptor_ < 0)
        throw Misuse("cannot write " + printable(name) + ": " + std::strerror(errno));
    dropCutLine();
}

LineLog::~LineLog()
{
    if (descriptor_ != STDOUT_FILENO) close(descriptor_);
}

void LineLog::dropCutLine()
{
    struct stat status {};
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return;
    const off_t begin = beginOfCutLine(descriptor_, status.st_size);
    if (begin == status.st_size) return;
    if (ftruncate(descriptor_, begin) != 0)
        throw Misuse("cannot write " + printable(name_) + ": " + std::strerror(errno));
    warn(name_, "the last line is cut; it is removed");
}

void LineLog::add(const Json& line)
{
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    clearProgress();
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t written = write(descriptor_, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0)
            throw Failure("cannot write " + printable(name_) + ": " + std::strerror(errno));
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace zel_tool
