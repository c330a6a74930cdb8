#include "archive/run/line_log.hpp"

#include <fcntl.h>
#include <sys/file.h>
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

// Up to the end of the first line, or that many bytes.
std::string firstLineOf(int descriptor)
{
    constexpr std::size_t most = 1 << 20;
    std::string text;
    std::array<char, 4096> block{};
    while (text.size() < most && text.find('\n') == std::string::npos) {
        const ssize_t got =
            pread(descriptor, block.data(), block.size(), static_cast<off_t>(text.size()));
        if (got <= 0) break;
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text.substr(0, text.find('\n'));
}

// Of a line that is cut only its beginning counts.
bool isOfRun(const std::string& line)
{
    const std::string_view begin = "{\"id\":";
    const Json value = Json::parse(line, nullptr, false);
    if (value.is_discarded())
        return !line.empty() && (line.starts_with(begin) || begin.starts_with(line));
    return value.is_object() && value.contains("id") && value.contains("status");
}

// While one exists, no other run looks for the end of the file or writes there. Where there are no
// locks, it does without.
class Locked {
public:
    explicit Locked(int descriptor) : descriptor_(descriptor)
    {
        while (flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~Locked() { flock(descriptor_, LOCK_UN); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    int descriptor_;
};

// Bytes of a regular file; -1 of any other.
off_t sizeOf(int descriptor)
{
    struct stat status {};
    const bool isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? status.st_size : -1;
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
    const Locked locked(descriptor_);
    if (sizeOf(descriptor_) <= 0) return;
    requireLog();
    dropCutLine();
}

LineLog::~LineLog()
{
    if (descriptor_ != STDOUT_FILENO) close(descriptor_);
}

// A name that was mistaken is no reason to damage a manifest or a scene. What this process may
// write but not read it cannot judge.
void LineLog::requireLog() const
{
    if ((fcntl(descriptor_, F_GETFL) & O_ACCMODE) == O_WRONLY) return;
    if (!isOfRun(firstLineOf(descriptor_)))
        throw Misuse(printable(name_) + " is there and is no run log; it is left as it is");
}

void LineLog::dropCutLine()
{
    const off_t size = sizeOf(descriptor_);
    const off_t begin = beginOfCutLine(descriptor_, size);
    if (begin == size) return;
    if (ftruncate(descriptor_, begin) != 0)
        throw Misuse("cannot write " + printable(name_) + ": " + std::strerror(errno));
    warn(name_, "the last line is cut; it is removed");
}

void LineLog::add(const Json& line)
{
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    clearProgress();
    if (descriptor_ == STDOUT_FILENO) {
        append(text);
        return;
    }
    const Locked locked(descriptor_);
    const off_t before = sizeOf(descriptor_);
    try {
        append(text);
    } catch (const Failure&) {  // half a line would be continued by that of another run
        if (before >= 0 && ftruncate(descriptor_, before) != 0) warn(name_, "the last line is cut");
        throw;
    }
}

void LineLog::append(const std::string& text)
{
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
