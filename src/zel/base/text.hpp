// Text: formatting, numbers as short as they can be read back, and labels that are safe to print.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel_tool {

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string format(const char* format, ...);

// The shortest decimal text that reads back as the same float, or double.
std::string shortest(float value);
std::string shortest(double value);

// The double whose shortest text is that of the float: 0.1, where a cast would give 0.10000000149.
double widened(float value);

// Bytes of a file as UTF-8: kept where they are, else taken as Latin-1.
std::string utf8(std::string_view bytes);

// The same on one line of a terminal: control characters become a blank or \xNN.
std::string printable(std::string_view bytes);

// The text with the first occurrence of a part replaced.
std::string replaced(std::string text, const std::string& from, const std::string& to);

// "3", or "3 to 9"; with its noun, "line 3" or "lines 3 to 9".
std::string spanText(long long first, long long last);
std::string linesText(long long first, long long last);

bool equalIgnoringCase(std::string_view a, std::string_view b);
std::vector<std::string> split(std::string_view text, char separator);
std::string join(const std::vector<std::string>& parts, const char* separator);

// Blanks up to that width in characters; longer text stays as it is.
std::string padded(const std::string& text, std::size_t width);
std::string paddedLeft(const std::string& text, std::size_t width);

// The text broken into lines of at most that width, each after the first begun with indent blanks.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent);

// Columns aligned, two blanks between them; right[i] aligns column i to the right.
std::string table(const std::vector<std::vector<std::string>>& rows, const std::string& right,
                  const char* indent);

// The whole text as a number; false when it is not one, or when more follows.
bool parseInteger(std::string_view text, long long& value);
bool parseNumber(std::string_view text, double& value);

}  // namespace zel_tool
