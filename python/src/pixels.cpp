#include "pixels.hpp"

#include <algorithm>
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
void reverseRow(void* row, py::ssize_t count)
{
    auto* words = static_cast<Word*>(row);
    for (py::ssize_t i = 0; i < count; ++i) words[i] = reversed(words[i]);
}

void reverseRow(void* row, py::ssize_t count, py::ssize_t size)
{
    if (size == 2) reverseRow<std::uint16_t>(row, count);
    if (size == 4) reverseRow<std::uint32_t>(row, count);
}

// take(row, numbers) for each row of the window. Rows that lie close together are read at once.
template <class Take>
void forRows(const Descriptor& file, const Window& w, py::ssize_t size, Take take)
{
    constexpr std::int64_t block = 1 << 18;
    const std::int64_t rowBytes = w.columns * size;
    const bool isDense = w.stride <= 4 * rowBytes || w.stride <= 4096;
    const std::int64_t atOnce =
        isDense ? std::max<std::int64_t>(1, block / std::max<std::int64_t>(w.stride, 1)) : 1;
    // Words, for numbers of any size to begin at.
    std::vector<std::uint32_t> words;
    std::vector<char> bytes(static_cast<std::size_t>((atOnce - 1) * w.stride + rowBytes));
    words.resize(static_cast<std::size_t>(rowBytes + 3) / 4);
    for (py::ssize_t row = 0; row < w.rows; row += atOnce) {
        const std::int64_t rows = std::min<std::int64_t>(atOnce, w.rows - row);
        const auto length = static_cast<std::size_t>((rows - 1) * w.stride + rowBytes);
        if (!file.read(w.place + row * w.stride, bytes.data(), length))
            throw LibraryError("the file is cut short after it was opened");
        for (std::int64_t n = 0; n < rows; ++n) {
            std::copy_n(bytes.data() + n * w.stride, rowBytes,
                        reinterpret_cast<char*>(words.data()));
            take(row + n, static_cast<void*>(words.data()));
        }
    }
}

void check(const Window& w)
{
    if (w.place < 0 || w.stride < 0 || w.rows < 0 || w.columns < 0)
        throw py::index_error("window outside of the file");
}

template <class Number>
void toValues(const void* row, py::ssize_t count, const float* table, float* out)
{
    const auto* numbers = static_cast<const Number*>(row);
    if (table)
        for (py::ssize_t i = 0; i < count; ++i)
            out[i] = table[static_cast<std::size_t>(numbers[i])];
    else
        for (py::ssize_t i = 0; i < count; ++i) out[i] = static_cast<float>(numbers[i]);
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
    forRows(*open, w, size, [&](py::ssize_t row, void* words) {
        if (isSwapped) reverseRow(words, w.columns, size);
        std::copy_n(static_cast<const char*>(words), w.columns * size,
                    out + row * w.columns * size);
    });
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
    const float* lookup = table.size() != 0 ? table.data() : nullptr;
    float* out = values.mutable_data();
    const py::gil_scoped_release released;
    forRows(*open, w, size, [&](py::ssize_t row, void* words) {
        if (isSwapped) reverseRow(words, w.columns, size);
        float* at = out + row * w.columns;
        if (size == 1) toValues<std::uint8_t>(words, w.columns, lookup, at);
        if (size == 2) toValues<std::uint16_t>(words, w.columns, lookup, at);
        if (size == 4) toValues<float>(words, w.columns, nullptr, at);
    });
    return values;
}

}  // namespace zel_python
