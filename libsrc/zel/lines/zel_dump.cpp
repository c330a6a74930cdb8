#include "zel_dump.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "ground/memory.hpp"
#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "lines/file_reader.hpp"
#include "records/prefix.hpp"
#include "records/release_seam.hpp"
#include "zel_door.h"
#include "zel_io.h"

namespace {

using zel::Element;
using zel::Level;
using zel::ShownField;

constexpr int whole = 0;
constexpr int stopped = 1;
constexpr int unreadable = -1;
constexpr int damaged = -2;

// ---- The text of a field ----

constexpr const char* elementNames[] = {"int8",   "uint8",   "int16",   "uint16", "int32",
                                        "uint32", "float32", "float64", "text"};

template <class T>
void appendNumbers(std::string& text, const ShownField& field)
{
    for (int i = 0; i < field.count; ++i) {
        T value;
        std::memcpy(
            &value,
            static_cast<const char*>(field.values) + sizeof value * static_cast<std::size_t>(i),
            sizeof value);
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        if (i > 0) text += ' ';
        text.append(digits, end);
    }
}

void appendCharacter(std::string& text, char character)
{
    constexpr const char* digits = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(character);
    if (character == '\\')
        text += "\\\\";
    else if (code >= 0x20 && code != 0x7f)
        text += character;
    else
        text.append("\\x").append(1, digits[code / 16]).append(1, digits[code % 16]);
}

void appendText(std::string& text, const ShownField& field)
{
    const auto* characters = static_cast<const char*>(field.values);
    for (int i = 0; i < field.count && characters[i] != '\0'; ++i)
        appendCharacter(text, characters[i]);
}

void appendValue(std::string& text, const ShownField& field)
{
    if (!field.values) return;
    switch (field.element) {
    case Element::int8:
        return appendNumbers<std::int8_t>(text, field);
    case Element::uint8:
        return appendNumbers<std::uint8_t>(text, field);
    case Element::int16:
        return appendNumbers<std::int16_t>(text, field);
    case Element::uint16:
        return appendNumbers<std::uint16_t>(text, field);
    case Element::int32:
        return appendNumbers<std::int32_t>(text, field);
    case Element::uint32:
        return appendNumbers<std::uint32_t>(text, field);
    case Element::float32:
        return appendNumbers<float>(text, field);
    case Element::float64:
        return appendNumbers<double>(text, field);
    case Element::text:
        return appendText(text, field);
    }
}

// ---- The caller's sink ----

struct Stopped {};

class Dump final : public zel::FieldListener {
public:
    Dump(ZELDumpSink sink, void* userData) : sink_(sink), userData_(userData) {}

    void beginComponent(int component) { component_ = component; }
    void record(Level level, const char* name, int index) override
    {
        if (!sink_) return;
        const auto depth = static_cast<std::size_t>(level);
        names_.resize(depth);
        names_.emplace_back(index < 0 ? name : name + (" " + std::to_string(index)));
    }
    void field(const ShownField& field) override
    {
        if (!sink_) return;
        const std::string record = recordName();
        std::string type = elementNames[static_cast<int>(field.element)];
        if (field.element != Element::text && field.count != 1)
            type += "[" + std::to_string(field.count) + "]";
        value_.clear();
        appendValue(value_, field);
        const ZELDumpField shown = {field.offset,   field.size,   component_, field.isBigEndian,
                                    record.c_str(), type.c_str(), field.name, value_.c_str()};
        isInSink_ = true;
        const int end = sink_(userData_, &shown);
        isInSink_ = false;
        if (end != 0) throw Stopped{};
    }
    // Bytes that no record accounts for.
    void bytes(const char* name, std::int64_t offset, std::int64_t size)
    {
        if (size < 1) return;
        names_ = {"file"};
        field({name, Element::uint8, static_cast<int>(size), nullptr, offset, size, false});
    }
    bool isInSink() const { return isInSink_; }

private:
    std::string recordName() const
    {
        std::string all;
        for (const std::string& name : names_) all += (all.empty() ? "" : " ") + name;
        return all;
    }

    ZELDumpSink sink_;
    void* userData_;
    int component_ = 0;
    bool isInSink_ = false;
    std::vector<std::string> names_;
    std::string value_;
};

// ---- Reading ----

// A record that is given back however it is left. Its stream is somebody else's.
struct FreeRecord {
    void operator()(ZELType* file) const
    {
        zel::releaseData(*file);
        delete file;
    }
};
using OwnedRecord = std::unique_ptr<ZELType, FreeRecord>;

Element elementOfPixels(int storageCode)
{
    if (storageCode == ZEL_STORED_FLOAT) return Element::float32;
    return zel::storedPixelSize(storageCode) == 2 ? Element::uint16 : Element::uint8;
}

// Reads and shows the lines.
class LineReader : public zel::RecordReader {
public:
    LineReader(ZELType& file, std::int64_t begin, std::int64_t end, bool showsPixels)
        : RecordReader(file.fptr, zel::layoutVersion(file.ZELHeader.VersionNumber), begin, end),
          showsPixels_(showsPixels)
    {
    }
    void pixels(const ZELType& file, int slot)
    {
        const ZELChannelType& c = file.Channels[slot];
        const int pixels = file.ZELHeader.NPixelPerLine;
        const std::int64_t begin = position();
        const std::int64_t size = std::int64_t{c.DataByteSize} * pixels;
        buffer_.resize(static_cast<std::size_t>(size));
        record(Level::block, "channel", slot);
        requireBytes("pixels", size);
        if (read(buffer_.data(), static_cast<std::size_t>(c.DataByteSize), pixels) != pixels)
            cutShort("pixels");
        listener()->field({"pixels", elementOfPixels(c.Type), pixels,
                           showsPixels_ ? buffer_.data() : nullptr, begin, size, isBigEndian()});
    }

private:
    bool showsPixels_;
    std::vector<unsigned char> buffer_;
};

class FileDump {
public:
    FileDump(const char* filename, int depth, Dump& dump)
        : filename_(filename), depth_(depth), dump_(dump)
    {
    }
    int run()
    {
        zel::Directory directory;
        stream_ = zel::openDirectory("ZELDumpFile", filename_, directory);
        if (!stream_) return unreadable;
        try {
            dump(directory);
            return whole;
        } catch (const Stopped&) {
            return stopped;
        } catch (const zel::Damage& damage) {
            zel::report("ZELDumpFile: corrupt file %s: %s at offset %lld\n", filename_, damage.what,
                        static_cast<long long>(damage.offset));
            return std::ferror(stream_.get()) ? unreadable : damaged;
        }
    }

private:
    void dump(const zel::Directory& directory)
    {
        if (!directory.isComposite) return dumpComponent(0, directory.fileSize);
        requireComponents(directory);
        for (int i = 0; i < directory.prefix.numComponents; ++i) {
            const std::int64_t begin = directory.prefix.offsets[i];
            const std::int64_t size = directory.prefix.sizes[i];
            dump_.beginComponent(i);
            dumpComponent(begin, size > 0 ? begin + size : directory.fileSize);
        }
    }

    // A directory that is refused is shown all the same.
    void requireComponents(const zel::Directory& directory)
    {
        try {
            zel::requireComponents(directory, true);
        } catch (const zel::Damage&) {
            zel::RecordReader reader(stream_.get(), zel::currentVersion, 0, directory.fileSize);
            reader.seek(0);
            reader.showTo(&dump_);
            zel::Prefix prefix{};
            zel::walkPrefix(reader, prefix);
            throw;
        }
    }

    void dumpComponent(std::int64_t begin, std::int64_t end)
    {
        const OwnedRecord file(new ZELType{});
        zel::copyText(file->ImageFilename, filename_);
        file->fptr = stream_.get();
        file->fileOffset = static_cast<int32_t>(begin);
        CheckByteOrder();
        zel::FileReader reader(*file, begin, end);
        reader.showTo(&dump_);
        try {
            zel::readComponent(reader, *file);
        } catch (const zel::UnsupportedVersion& version) {
            throwUnsupported(version);
        }
        const std::int64_t lines = std::min(begin + file->HeaderOffset, end);
        dump_.bytes("bytes before the first line", reader.position(), lines - reader.position());
        if (depth_ >= ZEL_DUMP_LINES) dumpLines(*file, lines, end);
    }

    void dumpLines(ZELType& file, std::int64_t begin, std::int64_t end)
    {
        const auto points = static_cast<std::size_t>(std::max(file.ZELHeader.NumNavPoints, 0));
        std::vector<float> lat(points);
        std::vector<float> lon(points);
        file.LatBuffer = lat.data();
        file.LonBuffer = lon.data();
        LineReader reader(file, begin, end, depth_ >= ZEL_DUMP_PIXELS);
        reader.seek(begin);
        reader.showTo(&dump_);
        for (int n = 0; n < file.NumLines; ++n) {
            reader.record(Level::record, "line", n);
            zel::walkLine(reader, file);
        }
        dump_.bytes("bytes after the last line", reader.position(), reader.remaining());
    }

    [[noreturn]] static void throwUnsupported(const zel::UnsupportedVersion& version)
    {
        zel::Damage damage{};
        std::snprintf(damage.what, sizeof damage.what, "unsupported VersionNumber %g",
                      static_cast<double>(version.number));
        damage.offset = version.offset;
        throw damage;
    }

    const char* filename_;
    int depth_;
    Dump& dump_;
    zel::OpenedFile stream_;
};

struct Call {
    const char* filename;
    int depth;
    Dump& dump;
    int result;
};

void run(void* data)
{
    auto& call = *static_cast<Call*>(data);
    try {
        call.result = FileDump(call.filename, call.depth, call.dump).run();
    } catch (const std::bad_alloc&) {
        zel::report("ZELDumpFile: cannot allocate memory\n");
        call.result = unreadable;
    }
}

}  // namespace

// What ends the process in an open, such as a mask that cannot be read, ends the dump only; but the
// sink may end the process.
int ZELDumpFile(const char* filename, int depth, ZELDumpSink sink, void* userData)
{
    const int order = SwapByteOrdering;
    Dump dump(sink, userData);
    Call call = {filename, depth, dump, damaged};
    int status = 0;
    const bool ended = ZELGuardedCall(run, &call, &status) != 0;
    SwapByteOrdering = order;
    if (ended && dump.isInSink()) zel::terminate(status);
    return ended ? damaged : call.result;
}
