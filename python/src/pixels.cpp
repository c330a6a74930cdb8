#include "pixels.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <vector>

#include "library.hpp"

namespace zel_python {
namespace {

std::uint16_t reversed(std::uint16_t number)
{
    return __builtin_bswap16(number);
}

std::uint32_t reversed(std::uint32_t number)
{
    return __builtin_bswap32(number);
}

template <class Word>
void reverseWords(char* row, py::ssize_t count)
{
    for (py::ssize_t i = 0; i < count; ++i, row += sizeof(Word)) {
        Word word;
        std::memcpy(&word, row, sizeof word);
        word = reversed(word);
        std::memcpy(row, &word, sizeof word);
    }
}

void reverseRow(char* row, py::ssize_t count, py::ssize_t size)
{
    if (size == 2) reverseWords<std::uint16_t>(row, count);
    if (size == 4) reverseWords<std::uint32_t>(row, count);
}

// Rows that lie close together are read at once.
bool isDense(const Window& w, std::int64_t rowBytes)
{
    return w.stride <= 4 * rowBytes || w.stride <= 4096;
}

void read(const Descriptor& file, std::int64_t place, void* bytes, std::int64_t size)
{
    if (!file.read(place, bytes, static_cast<std::size_t>(size)))
        throw LibraryError("the file is cut short after it was opened");
}

// take(row, bytes) for each row of the window. Numbers begin anywhere.
template <class Take>
void forRows(const Descriptor& file, const Window& w, py::ssize_t size, Take take)
{
    constexpr std::int64_t block = 1 << 18;
    const std::int64_t rowBytes = w.columns * size;
    const std::int64_t atOnce =
        isDense(w, rowBytes)
            ? std::max<std::int64_t>(1, block / std::max<std::int64_t>(w.stride, 1))
            : 1;
    std::vector<char> bytes(static_cast<std::size_t>((atOnce - 1) * w.stride + rowBytes));
    for (py::ssize_t row = 0; row < w.rows; row += atOnce) {
        const std::int64_t rows = std::min<std::int64_t>(atOnce, w.rows - row);
        read(file, w.place + row * w.stride, bytes.data(), (rows - 1) * w.stride + rowBytes);
        for (std::int64_t n = 0; n < rows; ++n) take(row + n, bytes.data() + n * w.stride);
    }
}

void check(const Window& w)
{
    if (w.place < 0 || w.stride < 0 || w.rows < 0 || w.columns < 0)
        throw py::index_error("window outside of the file");
}

template <class Number>
Number numberAt(const char* row, py::ssize_t i)
{
    Number number;
    std::memcpy(&number, row + i * static_cast<py::ssize_t>(sizeof number), sizeof number);
    return number;
}

// Most tables rise evenly. The compiler computes several of their values at once, which takes half
// as long as looking them up.
struct Slope {
    double first, step;
    float value(int number) const { return static_cast<float>(first + number * step); }
};

// The slope that gives each value of the table to the bit, if there is one.
std::optional<Slope> slopeOf(const float* table, int count)
{
    const float rise = table[count - 1] - table[0];
    const Slope slope = {table[0], static_cast<double>(rise) / (count - 1)};
    std::uint32_t differing = 0;
    for (int k = 0; k < count; ++k)
        differing |=
            std::bit_cast<std::uint32_t>(slope.value(k)) ^ std::bit_cast<std::uint32_t>(table[k]);
    if (differing != 0) return std::nullopt;
    return slope;
}

struct Decoding {
    const float* table = nullptr;  // without one, numbers are values
    std::optional<Slope> slope;
};

template <class Number>
void toValues(const char* row, py::ssize_t count, const Decoding& how, float* out)
{
    if (how.slope) {
        const Slope slope = *how.slope;
        for (py::ssize_t i = 0; i < count; ++i)
            out[i] = slope.value(static_cast<int>(numberAt<Number>(row, i)));
    } else if (how.table) {
        for (py::ssize_t i = 0; i < count; ++i)
            out[i] = how.table[static_cast<std::size_t>(numberAt<Number>(row, i))];
    } else {
        for (py::ssize_t i = 0; i < count; ++i)
            out[i] = static_cast<float>(numberAt<Number>(row, i));
    }
}

Decoding decodingOf(const Array<float>& table, const Window& w)
{
    constexpr py::ssize_t worthASlope = 4;  // values for each entry of the table
    if (table.size() == 0) return {};
    Decoding how = {table.data(), std::nullopt};
    if (w.rows * w.columns >= worthASlope * table.size())
        how.slope = slopeOf(how.table, static_cast<int>(table.size()));
    return how;
}

}  // namespace

py::array readNumbers(const File& file, const Window& w, const py::dtype& type, bool isSwapped)
{
    check(w);
    const Open open = file.open();
    py::array numbers(type, {w.rows, w.columns});
    const py::ssize_t size = type.itemsize();
    auto* out = static_cast<char*>(numbers.mutable_data());
    const py::gil_scoped_release released;
    const py::ssize_t rowBytes = w.columns * size;
    if (isDense(w, rowBytes))
        forRows(*open, w, size, [&](py::ssize_t row, const char* bytes) {
            std::copy_n(bytes, rowBytes, out + row * rowBytes);
        });
    else
        for (py::ssize_t row = 0; row < w.rows; ++row)
            read(*open, w.place + row * w.stride, out + row * rowBytes, rowBytes);
    if (isSwapped) reverseRow(out, w.rows * w.columns, size);
    return numbers;
}

Array<float> readValues(const File& file, const Window& w, const py::dtype& type, bool isSwapped,
                        const Array<float>& table)
{
    check(w);
    const Open open = file.open();
    const py::ssize_t size = type.itemsize();
    if (table.size() != 0 && (size > 2 || table.size() < (py::ssize_t{1} << (8 * size))))
        throw py::value_error("the table has no value for some numbers");
    Array<float> values({w.rows, w.columns});
    float* out = values.mutable_data();
    const py::gil_scoped_release released;
    const Decoding how = decodingOf(table, w);
    std::vector<char> turned(isSwapped ? static_cast<std::size_t>(w.columns * size) : 0);
    forRows(*open, w, size, [&](py::ssize_t row, const char* bytes) {
        if (isSwapped) {
            std::copy_n(bytes, turned.size(), turned.data());
            reverseRow(turned.data(), w.columns, size);
            bytes = turned.data();
        }
        float* at = out + row * w.columns;
        if (size == 1) toValues<std::uint8_t>(bytes, w.columns, how, at);
        if (size == 2) toValues<std::uint16_t>(bytes, w.columns, how, at);
        if (size == 4) toValues<float>(bytes, w.columns, how, at);
    });
    return values;
}

}  // namespace zel_python
