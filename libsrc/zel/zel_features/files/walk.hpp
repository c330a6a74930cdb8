// The walkers that the descriptions of the feature layer's records are handed to: numbers
// big-endian, texts after their length. A description names its fields in file order:
//     walker.field("random seed", p.RandomSeed);         a number
//     walker.array("feature maxima", info.Max, count);   numbers in a row
//     walker.string("date", header.DateTimeString);      a text
//     walker.present("label", entry.Label)               whether an optional item is there
//     walker.expression("condition", entry.Condition);   an expression, as its text
//     walker.count("entries", group.num, 12);            how many items of 12 bytes or more follow
//     walker.place(p.ClassOffset);                       where the next field is
//     if (walker.since(111)) ...                         fields that came with version 1.11
#ifndef ZEL_FEATURES_FILES_WALK_HPP
#define ZEL_FEATURES_FILES_WALK_HPP

#include <climits>
#include <cstdint>
#include <cstdio>

#include "records/walk.hpp"
#include "zel_features/zel_feature_io.h"
#include "zel_features/zel_feature_types.h"

namespace zel {

// The bytes that a string takes at least.
inline constexpr int minStringSize = 5;

// A string whose length is more than the file has.
struct StringDamage : Damage {
    int bytesRead;
    int length;
};

// The place of a stream and its end.
struct Extent {
    std::int64_t begin, end;
};
Extent extentOf(FILE* stream);

// A reader of big-endian numbers, strings and expressions. What the rest of the file cannot bear
// out is thrown as Damage before anything is allocated for it, where the stream says how much that
// is: a pipe does not. Strings replace those that a record owns already.
class FeatureReader : public RecordReader {
public:
    FeatureReader(FILE* stream, Extent extent)
        : RecordReader(stream, 0, extent.begin, extent.end, Numbers::bigEndian)
    {
    }
    // At the place of a stream, up to its end.
    explicit FeatureReader(FILE* stream) : FeatureReader(stream, extentOf(stream)) {}
    // At the place of another reader of the same stream.
    explicit FeatureReader(RecordReader& reader);

    // The version of the header that is read, times 100.
    void setVersion(const char* text);

    // How expressions are compiled from here on: with the check or without, and with which names.
    void setCheck(bool check) { check_ = check; }
    void setDefinitions(const CommandListStruct* definitions) { definitions_ = definitions; }

    void string(const char* name, char*& text);
    void expression(const char* name, ZELStackStruct*& stack);
    template <class T>
    bool present(const char* name, T*)
    {
        return number("presence of ", name) != 0;
    }
    // The count of the file; the record's own is for the writer, a reader counts as it appends.
    int count(const char* name, int, int minItemSize);
    // Refuses a number of items, found at an offset, that the rest of the file has no room for.
    void bound(const char* name, int number, int minItemSize, std::int64_t at) const;
    void place(int& offset) const { offset = static_cast<int>(position()); }

private:
    std::int32_t number(const char* what, const char* name);
    std::int32_t lengthOfString(const char* name);
    // Whether a stream that could not say where it ends has ended.
    bool endsUnknown() const { return end() == unknownEnd && !streamFailed(); }

    bool check_ = true;
    const CommandListStruct* definitions_ = nullptr;
};

// Writes fields in the current layout. Write errors end the process.
class FeatureWriter {
public:
    static constexpr bool reads = false;

    explicit FeatureWriter(FILE* stream) : stream_(stream) {}
    bool since(int) const { return true; }
    void setVersion(const char*) {}
    void setDefinitions(const CommandListStruct*) {}

    template <class T>
    void field(const char* name, const T& value)
    {
        array(name, &value, 1);
    }
    template <class T>
    void array(const char*, const T* values, int count)
    {
        static_assert(sizeof(T) == 1 || sizeof(T) == 4);
        FileWrite(values, sizeof(T), count, stream_);
    }
    void string(const char*, const char* text) { WriteString(stream_, text); }
    void expression(const char* name, const ZELStackStruct* stack)
    {
        string(name, stack->expression);
    }
    template <class T>
    bool present(const char* name, const T* item)
    {
        field(name, std::int32_t{item ? 1 : 0});
        return item != nullptr;
    }
    int count(const char* name, int number, int)
    {
        field(name, std::int32_t{number});
        return number;
    }
    void place(int& offset) const { offset = static_cast<int>(ftello(stream_)); }

private:
    FILE* stream_;
};

// Ends the process (-1) with what is wrong with the file.
[[noreturn]] void failDamaged(const Damage& damage);
[[noreturn]] void failDamaged(const StringDamage& damage);

// read(reader) at the stream's position, for the readers of the public interface.
template <class Read>
auto readFeatures(FILE* stream, Read read)
{
    try {
        FeatureReader reader(stream);
        return read(reader);
    } catch (const StringDamage& damage) {
        failDamaged(damage);
    } catch (const Damage& damage) {
        failDamaged(damage);
    }
}

}  // namespace zel

#endif
