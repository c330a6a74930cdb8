// The walkers that a record's description is handed to. A description names its fields in file
// order:
//     walker.field("year", header.year);            a number
//     walker.text("DataComment", buffer, 2000);     a text of fixed width, ended by a zero
//     walker.array("Table", values, count);         numbers or raw bytes in a row
//     if (walker.since(131)) ...                    fields that came with layout version 1.31
// and says between them how far it has come:
//     walker.record(Level::block, "LUT", i);        which record the next fields are of
//     walker.items(lut);                            a block is about to list what its head counts
#ifndef ZEL_RECORDS_WALK_HPP
#define ZEL_RECORDS_WALK_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ground/byte_order.hpp"
#include "records/read_ahead.hpp"
#include "records/shown_field.hpp"
#include "records/write_behind.hpp"
#include "zel_io.h"
#include "zel_types.h"

namespace zel {

// The layout version that the library writes, and the one that a header's version number means;
// 0 where there is no such version.
inline constexpr int currentVersion = 230;

constexpr int layoutVersion(float versionNumber)
{
    const double hundredfold = (static_cast<double>(versionNumber) + 0.005) * 100.0;
    return hundredfold > 0.0 && hundredfold < 1.0e6 ? static_cast<int>(hundredfold) : 0;
}

// Counts bytes, and finds the place of a field, or of an element of an array, by its name.
class LayoutSize {
public:
    constexpr explicit LayoutSize(int version = currentVersion, const char* wanted = nullptr,
                                  int element = 0)
        : version_(version), wanted_(wanted), element_(element)
    {
    }
    constexpr bool since(int version) const { return version_ >= version; }
    constexpr void record(Level, const char*, int = -1) {}
    template <class Record>
    constexpr void items(Record&)
    {
    }
    template <class T>
    constexpr void field(const char* name, T&)
    {
        add(name, sizeof(T), 1);
    }
    template <std::size_t N>
    constexpr void text(const char* name, char (&)[N], int width)
    {
        add(name, width, 1);
    }
    template <class T>
    constexpr void array(const char* name, T*, int count)
    {
        add(name, sizeof(T), count);
    }
    constexpr void pixels(const ZELType& file, int slot)
    {
        add("pixels", file.Channels[slot].DataByteSize, file.ZELHeader.NPixelPerLine);
    }
    constexpr std::int64_t bytes() const { return bytes_; }
    constexpr std::int64_t place() const { return place_; }

private:
    static constexpr bool same(const char* a, const char* b)
    {
        for (; *a == *b; ++a, ++b)
            if (*a == '\0') return true;
        return false;
    }
    constexpr void add(const char* name, std::int64_t size, int count)
    {
        if (wanted_ && same(name, wanted_)) place_ = bytes_ + size * element_;
        bytes_ += size * count;
    }

    int version_;
    const char* wanted_;
    int element_;
    std::int64_t bytes_ = 0;
    std::int64_t place_ = -1;
};

// What is wrong with a file, and where. Thrown by readers, caught where a file is opened.
struct Damage {
    char what[160];
    std::int64_t offset;
};

// How the numbers of a stream are stored: in the order that SwapByteOrdering says, or big-endian.
enum class Numbers { ofScene, bigEndian };

// The end of a stream that cannot say where it ends.
inline constexpr std::int64_t unknownEnd = INT64_MAX;

// Reads fields from a stream that is at position; end is where the file or component ends. A field
// that is cut short, and a number that a check refuses, are thrown as Damage. A number that is not
// whole is left as it was.
class RecordReader {
public:
    static constexpr bool reads = true;

    RecordReader(FILE* stream, int version, std::int64_t position, std::int64_t end,
                 Numbers numbers = Numbers::ofScene)
        : stream_(stream), version_(version), numbers_(numbers), position_(position), end_(end)
    {
    }
    bool since(int version) const { return version_ >= version; }
    void setVersion(int version) { version_ = version; }
    void setNumbers(Numbers numbers) { numbers_ = numbers; }

    // Shows each field that is read from here on.
    void showTo(FieldListener* listener) { listener_ = listener; }
    FieldListener* listener() const { return listener_; }
    void record(Level level, const char* name, int index = -1)
    {
        if (listener_) listener_->record(level, name, index);
    }

    template <class T>
    void field(const char* name, T& value)
    {
        T stored{};
        if (!takeHere(name, stored)) take(name, &stored, 1);
        value = stored;
        show(name, &value, 1);
    }
    template <std::size_t N>
    void text(const char* name, char (&buffer)[N], int width)
    {
        static_assert(N > 1);
        take(name, buffer, width);
        buffer[static_cast<std::size_t>(width) < N ? static_cast<std::size_t>(width) : N - 1] =
            '\0';
        show(name, buffer, width);
    }
    template <class T>
    void array(const char* name, T* values, int count)
    {
        take(name, values, count);
        show(name, values, count);
    }
    void seek(std::int64_t position);

    // Refuses a file that has fewer bytes left than a number in it asks for.
    void requireBytes(const char* name, std::int64_t size)
    {
        recent_[numFields_++ % recent_.size()] = {name, position_};
        if (size > end_ - position_) cutShort(name);
    }
    // Refuses the named field, one of those read last, unless ok.
    void require(bool ok, const char* name, double value)
    {
        if (!ok) refuse(name, value);
    }

    std::int64_t position() const { return position_; }
    std::int64_t end() const { return end_; }  // of the file or component
    std::int64_t remaining() const { return end_ - position_; }
    bool streamFailed() const { return std::ferror(stream_) != 0; }

    // Reads a block at a time from here on. The stream is not at the reader's position until it is
    // settled.
    void readAhead(ReadAhead& ahead) { ahead_ = &ahead; }
    // Brings the stream to the reader's position.
    void settle();
    // The stream, settled.
    FILE* stream()
    {
        settle();
        return stream_;
    }
    // The stream has been moved there, by another reader for one.
    void moveTo(std::int64_t position) { position_ = position; }

protected:
    // Reads without showing, and shows what was read last.
    template <class T>
    void take(const char* name, T* values, int count)
    {
        requireBytes(name, static_cast<std::int64_t>(sizeof(T)) * count);
        if (read(values, sizeof(T), count) != count) cutShort(name);
    }
    // A number of which all bytes have been read ahead, as those of most have.
    template <class T>
    bool takeHere(const char* name, T& value)
    {
        if (!ahead_ || ahead_->lead() < sizeof value || isReversed()) return false;
        requireBytes(name, sizeof value);
        std::memcpy(&value, ahead_->takeHere(sizeof value), sizeof value);
        position_ += static_cast<std::int64_t>(sizeof value);
        return true;
    }
    // Takes as many bytes again as a record before them has, if they are the same. False, with
    // nothing taken, when they are not, or were not read ahead.
    bool takeRepeated(std::int64_t size)
    {
        if (!ahead_ || size > remaining() || !ahead_->takeRepeated(static_cast<std::size_t>(size)))
            return false;
        position_ += size;
        return true;
    }
    template <class T>
    void show(const char* name, const T* values, int count)
    {
        if (listener_) show(name, elementOf<T>(), values, sizeof(T), count);
    }
    // Reads what there is; returns how many elements that were.
    int read(void* values, std::size_t size, int count)
    {
        if (count < 1) return 0;
        const std::size_t bytes = size * static_cast<std::size_t>(count);
        const std::size_t got = (ahead_ ? ahead_->take(stream_, values, bytes)
                                        : std::fread(values, 1, bytes, stream_)) /
                                size;
        position_ += static_cast<std::int64_t>(size * got);
        if (size > 1 && isReversed()) reverseElements(values, size, got);
        return static_cast<int>(got);
    }
    // Whether numbers are stored in the other order than the host's.
    bool isReversed() const
    {
        return numbers_ == Numbers::bigEndian ? hostByteOrder() == 0 : SwapByteOrdering != 0;
    }
    bool isBigEndian() const;
    [[noreturn]] void cutShort(const char* name) const;

private:
    void moveStream(std::int64_t position);
    void show(const char* name, Element element, const void* values, std::size_t size, int count);
    [[noreturn]] void refuse(const char* name, double value) const;
    std::int64_t placeOf(const char* name) const;

    FILE* stream_;
    int version_;
    Numbers numbers_;
    std::int64_t position_;
    std::int64_t end_;
    FieldListener* listener_ = nullptr;
    ReadAhead* ahead_ = nullptr;
    struct Place {
        const char* name;
        std::int64_t offset;
    };
    std::array<Place, 16> recent_{};  // the fields read last, to say where a wrong one is
    std::size_t numFields_ = 0;
};

// The bytes that a stream has in all; its place is kept. A stream without a known length is thrown
// as Damage.
std::int64_t lengthOf(FILE* stream);

// Writes at another place of a stream and goes back. False, with errno, when it would not go there
// or back; other write errors stay with the stream.
template <class Write>
bool rewriteAt(FILE* stream, std::int64_t place, Write write)
{
    const off_t position = ftello(stream);
    if (position < 0 || fseeko(stream, place, SEEK_SET) != 0) return false;
    write();
    return fseeko(stream, position, SEEK_SET) == 0;
}

// Writes fields in the current layout. Write errors stay with the stream, except a failed seek,
// which shows only in the count written.
class RecordWriter {
public:
    static constexpr bool reads = false;

    explicit RecordWriter(FILE* stream) : stream_(stream) {}
    bool since(int) const { return true; }
    void record(Level, const char*, int = -1) {}
    template <class Record>
    void items(Record&)
    {
    }

    template <class T>
    void field(const char*, T& value)
    {
        write(&value, sizeof(T), 1);
    }
    // What comes after the terminator is written as zeros.
    template <std::size_t N>
    void text(const char*, char (&buffer)[N], int width)
    {
        static constexpr char zeros[N] = {};
        const auto size = static_cast<std::size_t>(width);
        const std::size_t length = strnlen(buffer, size);
        write(buffer, 1, static_cast<int>(length));
        write(zeros, 1, static_cast<int>(size - length));
    }
    template <class T>
    void array(const char*, T* values, int count)
    {
        write(values, sizeof(T), count);
    }

    // Collects what is written from here on, up to finish().
    void writeBehind(WriteBehind& behind) { behind_ = &behind; }
    void finish()
    {
        if (behind_ && !behind_->flush(stream_)) isWhole_ = false;
    }

    // Whether the stream took all.
    bool isWhole() const { return isWhole_; }

protected:
    void write(const void* values, int size, int count)
    {
        if (count > 0 && !put(values, size, count)) isWhole_ = false;
    }

private:
    bool put(const void* values, int size, int count)
    {
        if (!behind_) return ZELWrite(values, size, count, stream_) == count;
        return behind_->put(stream_, values, static_cast<std::size_t>(size),
                            static_cast<std::size_t>(count));
    }

    FILE* stream_;
    WriteBehind* behind_ = nullptr;
    bool isWhole_ = true;
};

// Hands its fields on to another walker: the base of one that does something besides.
template <class Walker>
class PassingOn {
public:
    explicit PassingOn(Walker& next) : next_(next) {}
    bool since(int version) const { return next_.since(version); }
    void record(Level level, const char* name, int index = -1) { next_.record(level, name, index); }
    template <class T>
    void field(const char* name, T& value)
    {
        next_.field(name, value);
    }
    template <std::size_t N>
    void text(const char* name, char (&buffer)[N], int width)
    {
        next_.text(name, buffer, width);
    }
    template <class T>
    void array(const char* name, T* values, int count)
    {
        next_.array(name, values, count);
    }

protected:
    Walker& next_;
};

// A reader at the stream's position, up to the end of the file.
RecordReader readerAt(FILE* stream);

// Ends the process with what is wrong with a block that a caller read by itself.
[[noreturn]] void failDamaged(const char* function, const Damage& damage);

// read(reader) at the stream's position, for the block readers of the public interface.
template <class Read>
auto readBlock(FILE* stream, const char* function, Read read)
{
    try {
        RecordReader reader = readerAt(stream);
        return read(reader);
    } catch (const Damage& damage) {
        failDamaged(function, damage);
    }
}

}  // namespace zel

#endif
