// The lines of parameter files, and the pieces that their commands are made of.
#ifndef ZEL_FEATURES_PARAMETERS_LINES_HPP
#define ZEL_FEATURES_PARAMETERS_LINES_HPP

#include <cstddef>
#include <optional>
#include <string_view>

#include "zel_features/language/text.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_feature_types.h"

namespace zel {

// How "syntax error line <n>" is reported: a mask file prints the line first, as for its other
// errors.
enum class SyntaxErrors { alone, afterLine };

// Reads a parameter file line by line. Blank lines and comments ("#") are counted and passed over.
// A last line without a newline is not read. A line of more than 239 characters comes in pieces;
// each counts as a line and loses its last character in place of the newline.
class ParameterLines {
public:
    ParameterLines(const char* filename, SyntaxErrors syntaxErrors);
    bool isOpen() const { return stream_ != nullptr; }

    // Goes on to the next line; false at the end of the file. Ends the process (-1) when the file
    // cannot be read.
    bool next();

    int number() const { return number_; }  // from 1
    const Text& text() const { return text_; }
    std::string_view command() const { return word(0); }

    // The n-th word, empty when the line has fewer.
    std::string_view word(int n) const;

    // What follows the command's word and one character.
    std::string_view afterCommand() const;

    // The same, but found by looking for the word as it is written here. Ends the process (-1)
    // where the line does not contain it.
    std::string_view after(std::string_view lowerCaseWord) const;

    // Ends the process (-1) with the syntax error.
    [[noreturn]] void failSyntax() const;

private:
    bool read();

    const char* filename_;
    SyntaxErrors syntaxErrors_;
    OpenedFile stream_;
    Text text_;
    int number_ = 0;
};

// "line <n>: <text>" on standard error; the messages of a faulty line begin with it.
void printLine(const ParameterLines& line);

// The line and the message, and an ending with status -1.
[[noreturn, gnu::format(printf, 2, 3)]] void failAtLine(const ParameterLines& line,
                                                        const char* format, ...);

// Takes the part of text up to the first ":" away from it, with the ":".
std::string_view takeUpToColon(std::string_view& text);

// The part between the first two double quotes, or the whole text without quotes.
std::string_view unquoted(std::string_view text);

// Compiles a text with the names of the definitions. When it does not compile, ends the process
// (-1) with the line and the message, which begins with what.
ZELStackStruct* compileFromLine(const ParameterLines& line, std::string_view text,
                                const CommandStruct& definitions, const char* what = "",
                                bool check = true);

// Ends the process (-1) with the line and the message of the status.
[[noreturn]] void failParse(const ParameterLines& line, const char* what, int status);

// A word of a command's argument, and what it stands for.
struct Word {
    const char* text;
    int value;
};

// What the word that is written so, in any case, stands for.
template <std::size_t N>
std::optional<int> find(const Word (&words)[N], std::string_view text)
{
    for (const Word& word : words)
        if (sameIgnoringCase(text, word.text)) return word.value;
    return std::nullopt;
}

// The commands that define a name, and those that are text only.
void readDefinition(const ParameterLines& line, CommandStruct& definitions);
void readText(const ParameterLines& line, CommandStruct& texts);

}  // namespace zel

#endif
