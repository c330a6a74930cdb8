#include "base/text.hpp"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace zel_tool {
namespace {

template <class Number>
std::string shortestText(Number value)
{
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return {text, end};
}

unsigned byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

// Length of the UTF-8 character at that place, 0 when there is none.
std::size_t utf8Length(std::string_view text, std::size_t at)
{
    const unsigned first = byteOf(text[at]);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byteOf(text[at + i]) & 0xC0U) != 0x80U) return 0;
    const unsigned second = length > 1 ? byteOf(text[at + 1]) : 0;
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool beyond = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return overlong || beyond ? 0 : length;
}

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8Length(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::size_t characters(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (byteOf(c) & 0xC0U) != 0x80U; }));
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

template <class Number>
bool parseWhole(std::string_view text, Number& value)
{
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

}  // namespace

std::string format(const char* format, ...)
{
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string shortest(float value)
{
    return shortestText(value);
}

std::string shortest(double value)
{
    return shortestText(value);
}

double widened(float value)
{
    double wide = static_cast<double>(value);
    const std::string text = shortest(value);
    std::from_chars(text.data(), text.data() + text.size(), wide);
    return wide;
}

std::string utf8(std::string_view bytes)
{
    if (isUtf8(bytes)) return std::string(bytes);
    std::string text;
    for (const char c : bytes) {
        const unsigned code = byteOf(c);
        if (code >= 0x80) text += static_cast<char>(0xC0U | code >> 6U);
        text += static_cast<char>(code >= 0x80 ? 0x80U | (code & 0x3FU) : code);
    }
    return text;
}

std::string printable(std::string_view bytes)
{
    std::string text;
    const std::string whole = utf8(bytes);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const unsigned code = byteOf(whole[i]);
        const bool control = code < 0x20 || code == 0x7F;
        // The control characters above ASCII: C2 80 to C2 9F.
        const bool high = code == 0xC2 && i + 1 < whole.size() && byteOf(whole[i + 1]) < 0xA0;
        if (high)
            text += format("\\x%02x", byteOf(whole[++i]));
        else if (code == '\n' || code == '\t' || code == '\r')
            text += ' ';
        else if (control)
            text += format("\\x%02x", code);
        else
            text += whole[i];
    }
    return text;
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    if (const auto at = text.find(from); at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

std::string spanText(long long first, long long last)
{
    return first == last ? format("%lld", first) : format("%lld to %lld", first, last);
}

std::string linesText(long long first, long long last)
{
    return (first == last ? "line " : "lines ") + spanText(first, last);
}

bool equalIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

std::string join(const std::vector<std::string>& parts, const char* separator)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) text += (i ? separator : "") + parts[i];
    return text;
}

std::string padded(const std::string& text, std::size_t width)
{
    const std::size_t length = characters(text);
    return length < width ? text + std::string(width - length, ' ') : text;
}

std::string paddedLeft(const std::string& text, std::size_t width)
{
    const std::size_t length = characters(text);
    return length < width ? std::string(width - length, ' ') + text : text;
}

std::string wrapped(const std::string& text, std::size_t width, std::size_t indent)
{
    std::string out;
    std::size_t used = 0;
    for (const std::string& word : split(text, ' ')) {
        if (word.empty()) continue;
        if (used > 0 && used + 1 + characters(word) > width) {
            out += "\n" + std::string(indent, ' ');
            used = 0;
        } else if (used > 0) {
            out += ' ';
            ++used;
        }
        out += word;
        used += characters(word);
    }
    return out;
}

std::string table(const std::vector<std::vector<std::string>>& rows, const std::string& right,
                  const char* indent)
{
    std::vector<std::size_t> widths(right.size(), 0);
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], characters(row[i]));
    std::string out;
    for (const auto& row : rows) {
        std::string line = indent;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (widths[i] == 0) continue;
            line += right[i] == 'r' ? paddedLeft(row[i], widths[i]) : padded(row[i], widths[i]);
            line += "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out += line + "\n";
    }
    return out;
}

bool parseInteger(std::string_view text, long long& value)
{
    return parseWhole(text, value);
}

bool parseNumber(std::string_view text, double& value)
{
    return parseWhole(text, value);
}

}  // namespace zel_tool
