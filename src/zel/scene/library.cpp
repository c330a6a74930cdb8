#include "scene/library.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <vector>

#include "base/failure.hpp"
#include "base/report.hpp"
#include "base/settings.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

// What the library has said since the last call began.
std::vector<std::string>& said()
{
    static std::vector<std::string> messages;
    return messages;
}

bool holdsWarnings = false;
int hushed = 0;

std::string trimmed(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    text.erase(0, text.find_first_not_of("\n "));
    return text;
}

// The name of the function that a message begins with means nothing to a user.
std::string withoutFunction(const std::string& text)
{
    const auto colon = text.find(": ");
    if (colon == std::string::npos || text.find(' ') < colon) return text;
    const std::string name = text.substr(0, colon);
    const bool isFunction = name.starts_with("ZEL") || name.starts_with("OpenReadOnlyFile") ||
                            name.starts_with("ReadLine") || name.starts_with("OpenComposite");
    return isFunction ? text.substr(colon + 2) : text;
}

// What is said to be an error anyway.
std::string withoutMark(const std::string& text)
{
    static constexpr std::string_view mark = "Error:";
    if (!text.starts_with(mark)) return text;
    return text.substr(std::min(text.find_first_not_of(' ', mark.size()), text.size()));
}

void receive(void*, FILE* stream, const char* text)
{
    const std::string message = trimmed(text);
    if (message.empty()) return;
    said().push_back(message);
    if (hushed > 0) return;
    const std::string plain = printable(withoutFunction(message));
    if (settings().verbose)
        complain("", plain);
    else if (stream == stderr && !holdsWarnings && plain.starts_with("warning: "))
        warn("", plain.substr(9));
}

// Whether a message only says that the work failed of which another has said why.
bool repeats(const std::string& message)
{
    static constexpr const char* starts[] = {"Error opening file", "system error code",
                                             "ZELCreateCompositeFile: Error:  write error",
                                             "ZELCreateCompositeFile: Error:  seek error",
                                             "ZELCreateCompositeFile: Error: cannot read file"};
    return std::any_of(std::begin(starts), std::end(starts),
                       [&](const char* start) { return message.starts_with(start); });
}

// The message that says most.
std::string reason()
{
    std::string best;
    for (const std::string& message : said()) {
        if (!best.empty() && repeats(message)) continue;
        best = message;
    }
    return printable(withoutMark(withoutFunction(best)));
}

}  // namespace

// A pipe or a device could block for ever, and has no place to go back to.
long long requireFile(const std::string& file)
{
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) throw Failure(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw Failure("is a directory");
    if (!S_ISREG(status.st_mode)) throw Failure("is not a regular file");
    return static_cast<long long>(status.st_size);
}

std::string openingReason(const std::string& file)
{
    std::string text = reason();
    if (text == "unsupported data type") return "not a ZEL file, or of an unsupported version";
    text = replaced(text, "corrupt file " + printable(file) + ": ", "corrupt header: ");
    text = replaced(text, "corrupt header: invalid ", "corrupt header: ");
    text = replaced(text, "file " + printable(file) + ": ", "");
    return text.empty() ? "cannot be read" : text;
}

QuietLibrary::QuietLibrary()
{
    holdsWarnings = true;
}

QuietLibrary::~QuietLibrary()
{
    holdsWarnings = false;
}

Hush::Hush()
{
    ++hushed;
}

Hush::~Hush()
{
    --hushed;
}

const std::vector<std::string>& heard()
{
    return said();
}

void takeMessages()
{
    ZELSetMessageSink(receive, nullptr);
}

void guarded(const std::function<void()>& call)
{
    said().clear();
    // Exceptions of the call itself pass through the library's own guard.
    const auto run = [](void* data) { (*static_cast<const std::function<void()>*>(data))(); };
    int status = 0;
    auto* data = const_cast<std::function<void()>*>(&call);
    if (ZELGuardedCall(run, data, &status) == 0) return;
    const std::string text = reason();
    throw Failure(text.empty() ? "cannot allocate memory" : text);
}

void guardedWriting(const std::string& temporary, const std::string& name,
                    const std::function<void()>& call)
{
    try {
        guarded(call);
    } catch (const Failure& failure) {
        throw Failure(replaced(failure.what(), printable(temporary), printable(name)));
    }
}

std::string writingReason(const std::string& temporary, const std::string& name)
{
    const std::string text = replaced(reason(), printable(temporary), printable(name));
    return text.empty() ? "cannot write " + printable(name) : text;
}

void Scene::Finish::operator()(ZELType* record) const
{
    const auto finish = [](void* data) { ZELFinishReadingFile(static_cast<ZELType*>(data)); };
    ZELGuardedCall(finish, record, nullptr);
    delete record;
}

Scene::Scene(const std::string& file, Tables tables)
    : file_(file), bytes_(requireFile(file)), record_(new ZELType())
{
    const auto open = tables == Tables::with ? ZELOpenReadOnlyFile : ZELOpenReadOnlyFileNoTables;
    int result = 0;
    errno = 0;
    try {
        guarded([&] { result = open(record_.get(), file.c_str()); });
    } catch (const Failure&) {
        throw Failure(openingReason(file));
    }
    if (result == 0) return;
    if (result == -1 && errno != 0 && !record_->fptr) throw Failure(std::strerror(errno));
    throw Failure(openingReason(file));
}

// The library takes the index for that of a file where it looks for scan times, and for that of a
// component where it takes the grid; here it means the component.
Scene::Scene(const std::vector<std::string>& files, int base)
    : file_(files.front()), bytes_(requireFile(files.front())), record_(new ZELType())
{
    std::vector<const char*> names;
    names.reserve(files.size());
    for (const std::string& file : files) names.push_back(file.c_str());
    int result = 0;
    guarded([&] {
        result = ZELOpenCompositeReadOnlyFile(record_.get(), names.data(),
                                              static_cast<int>(names.size()), base);
    });
    if (result != 0) throw Failure(openingReason(file_));
    record_->baseZELComponent = base;
}

ZELType& Scene::component(int index)
{
    return isContainer() ? record_->ZELComponent[index] : *record_;
}

Scene::Origin Scene::origin(int viewSlot)
{
    if (!isContainer()) return {&view(), viewSlot, 0};
    int left = viewSlot;
    for (int i = 0; i < componentCount(); ++i) {
        ZELType& record = component(i);
        const std::vector<int> slots = presentSlots(record);
        if (left < static_cast<int>(slots.size()))
            return {&record, slots[static_cast<std::size_t>(left)], i};
        left -= static_cast<int>(slots.size());
    }
    throw Failure(format("no channel in slot %d", viewSlot));
}

ZELType& Scene::part(int index)
{
    if (index == -1) return view();
    if (index >= 0 && index < componentCount()) return component(index);
    throw Failure(format("no part %d; there are 0 to %d", index, componentCount() - 1));
}

void readLine(ZELType& record, int line, Decode decode)
{
    int pixels = 0;
    guarded([&] {
        if (ZELSetCurrentLine(&record, line) != line) return;
        pixels = decode == Decode::yes ? ZELReadLine(&record) : ZELReadLineNoScale(&record);
    });
    if (pixels == 0) throw Failure(format("line %d cannot be read", line));
}

double storedNumber(const ZELType& record, int slot, int pixel)
{
    const ZELChannelType& channel = record.Channels[slot];
    const unsigned char* at = record.PixBuf[slot] + pixel * channel.DataByteSize;
    if (channel.DataByteSize == 1) return *at;
    if (channel.DataByteSize == 2) {
        std::uint16_t number = 0;
        std::memcpy(&number, at, sizeof number);
        return number;
    }
    float number = 0.0F;
    std::memcpy(&number, at, sizeof number);
    return static_cast<double>(number);
}

}  // namespace zel_tool
