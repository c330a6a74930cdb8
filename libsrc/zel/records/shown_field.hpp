// Fields as a reader shows them to whoever listens.
#ifndef ZEL_RECORDS_SHOWN_FIELD_HPP
#define ZEL_RECORDS_SHOWN_FIELD_HPP

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace zel {

// What a field is made of.
enum class Element { int8, uint8, int16, uint16, int32, uint32, float32, float64, text };

template <class T>
constexpr Element elementOf()
{
    if constexpr (std::is_same_v<T, char>) return Element::text;
    if constexpr (std::is_floating_point_v<T>)
        return sizeof(T) == 8 ? Element::float64 : Element::float32;
    constexpr bool isSigned = std::is_signed_v<T>;
    if (sizeof(T) == 1) return isSigned ? Element::int8 : Element::uint8;
    if (sizeof(T) == 2) return isSigned ? Element::int16 : Element::uint16;
    return isSigned ? Element::int32 : Element::uint32;
}

// A field that was read; its values are in the host's order. Null for bytes that were not read.
struct ShownField {
    const char* name;
    Element element;
    int count;
    const void* values;
    std::int64_t offset;
    std::int64_t size;
    bool isBigEndian;
};

// A record, a block of it, or an entry of a block.
enum class Level { record, block, entry };

class FieldListener {
public:
    // What the next fields are of, and which one of its kind; -1 where there is one only.
    virtual void record(Level level, const char* name, int index) = 0;
    virtual void field(const ShownField& field) = 0;

protected:
    ~FieldListener() = default;
};

}  // namespace zel

#endif
