// The library, called so that nothing it does ends the process or prints.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zel.h"

namespace zel_tool {

// Takes over the library's messages: they are shown with -v, warnings always.
void takeMessages();

// Runs a call of the library. When the library ends the process, throws a Failure with its message.
void guarded(const std::function<void()>& call);

// No message of the library is shown while one exists.
class Hush {
public:
    Hush();
    ~Hush();
    Hush(const Hush&) = delete;
    Hush& operator=(const Hush&) = delete;
};

// What the library has said in the last guarded call, a message each.
const std::vector<std::string>& heard();

// While one lives, warnings of the library are shown with -v only: whoever holds it looks for their
// causes.
class QuietLibrary {
public:
    QuietLibrary();
    ~QuietLibrary();
    QuietLibrary(const QuietLibrary&) = delete;
    QuietLibrary& operator=(const QuietLibrary&) = delete;
};

// Why the library refused a file, from what it has said.
std::string openingReason(const std::string& file);

// Runs a call that writes a file under a temporary name; its messages have the name that the file
// is to have.
void guardedWriting(const std::string& temporary, const std::string& name,
                    const std::function<void()>& call);

// Why the library did not write a file, from what it has said.
std::string writingReason(const std::string& temporary, const std::string& name);

// The size of a regular file. Throws Failure for anything else.
long long requireFile(const std::string& file);

// Whether the values of all stored numbers (ChannelLUT) are computed at once. Lines do not need
// them.
enum class Tables { without, with };

// A file that is open for reading: a plain file, or a container or several files as one view.
class Scene {
public:
    // Throws Failure when the file is not one or is damaged.
    explicit Scene(const std::string& file, Tables tables = Tables::without);

    // Several files, or a part of a container, as one view on the grid of the component of that
    // index, of all that the files hold. Messages name the first file.
    Scene(const std::vector<std::string>& files, int base);

    const std::string& file() const { return file_; }
    long long bytes() const { return bytes_; }

    // What a line of all channels is read from: the file, or the view of a container.
    ZELType& view() { return *record_; }

    // The files that a container holds; a plain file is its own only component.
    bool isContainer() const { return record_->numZELComponents > 1; }
    int componentCount() const { return isContainer() ? record_->numZELComponents : 1; }
    int baseComponent() const { return isContainer() ? record_->baseZELComponent : 0; }
    ZELType& component(int index);

    // Where a channel of the view comes from.
    struct Origin {
        ZELType* record;
        int slot;
        int component;
    };
    Origin origin(int viewSlot);

    // The component of that index, or the view for -1. Throws Failure.
    ZELType& part(int index);

private:
    struct Finish {
        void operator()(ZELType* record) const;
    };

    std::string file_;
    long long bytes_;
    std::unique_ptr<ZELType, Finish> record_;
};

enum class Decode { no, yes };

// For lines that are read undecoded: the library does not fill the values of a line that it still
// holds, so that it holds none of them afterwards.
class Undecoded {
public:
    explicit Undecoded(ZELType& record) : record_(record) {}
    ~Undecoded() { record_.PreviousLine = -2; }
    Undecoded(const Undecoded&) = delete;
    Undecoded& operator=(const Undecoded&) = delete;

private:
    ZELType& record_;
};

// Reads a line of a record: PixBuf, and ChannelData when decoded. Throws Failure, also for a line
// that the file does not have.
void readLine(ZELType& record, int line, Decode decode);

// The stored number of a pixel; a float for storage code 4.
double storedNumber(const ZELType& record, int slot, int pixel);

}  // namespace zel_tool
