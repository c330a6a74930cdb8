#include "zel_features/parameters/lines.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <utility>

#include "zel_features/language/text.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_expression.h"

namespace {

constexpr std::size_t maxLine = ZEL_FEATURE_LINE_SIZE - 1;

// More empty lines in a row than this come from a file without an end.
constexpr int maxEmptyLines = 1'000'000;

bool isAtEnd(FILE* stream)
{
    const int c = std::fgetc(stream);
    return c == EOF || std::ungetc(c, stream) == EOF;
}

// A read error is not the end of the file.
[[nodiscard]] bool end(FILE* stream, const char* filename)
{
    if (std::ferror(stream)) zel::failWithError("read error on parameter file %s\n", filename);
    return false;
}

}  // namespace

namespace zel {

ParameterLines::ParameterLines(const char* filename, SyntaxErrors syntaxErrors)
    : filename_(filename), syntaxErrors_(syntaxErrors), stream_(std::fopen(filename, "r"))
{
}

bool ParameterLines::read()
{
    text_.clear();
    int c = '\0';
    while (c != '\n' && text_.size() < maxLine) {
        c = std::fgetc(stream_.get());
        if (c == EOF) return end(stream_.get(), filename_);
        text_ += static_cast<char>(c);
    }
    if (c != '\n' && isAtEnd(stream_.get())) return end(stream_.get(), filename_);
    text_.pop_back();
    text_.resize(std::min(text_.size(), text_.find('\0')));
    ++number_;
    return true;
}

bool ParameterLines::next()
{
    for (int i = 0; read(); ++i) {
        if (!command().empty() && command().front() != '#') return true;
        if (i == maxEmptyLines) failWithError("parameter file %s has no end\n", filename_);
    }
    return false;
}

std::string_view ParameterLines::word(int n) const
{
    const char* at = text_.c_str();
    for (;; --n) {
        while (isBlank(*at)) ++at;
        const char* begin = at;
        while (*at && !isBlank(*at)) ++at;
        if (n == 0 || at == begin) return {begin, static_cast<std::size_t>(at - begin)};
    }
}

std::string_view ParameterLines::afterCommand() const
{
    const std::string_view first = command();
    const auto end = static_cast<std::size_t>(first.data() + first.size() - text_.data());
    return std::string_view(text_).substr(std::min(end + 1, text_.size()));
}

std::string_view ParameterLines::after(std::string_view lowerCaseWord) const
{
    const std::size_t found = text_.find(lowerCaseWord);
    if (found == zel::Text::npos) failSyntax();
    const std::size_t begin = found + lowerCaseWord.size() + 1;
    return std::string_view(text_).substr(std::min(begin, text_.size()));
}

void ParameterLines::failSyntax() const
{
    errno = 0;  // nothing that the system refused
    if (syntaxErrors_ == SyntaxErrors::afterLine) printLine(*this);
    failWithError("syntax error line %d\n", number_);
}

void printLine(const ParameterLines& line)
{
    printError(message("line %d: %s\n", line.number(), line.text().c_str()));
}

void failAtLine(const ParameterLines& line, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const zel::Text text = messageOf(format, arguments);
    va_end(arguments);
    const int error = std::exchange(errno, 0);  // goes with the message
    printLine(line);
    errno = error;
    printError(text.c_str());
    terminate(-1);
}

std::string_view takeUpToColon(std::string_view& text)
{
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::string_view taken = text.substr(0, colon);
    text.remove_prefix(std::min(colon + 1, text.size()));
    return taken;
}

std::string_view unquoted(std::string_view text)
{
    const std::size_t opening = text.find('"');
    if (opening == std::string_view::npos) return text;
    text.remove_prefix(opening + 1);
    return text.substr(0, text.find('"'));
}

ZELStackStruct* compileFromLine(const ParameterLines& line, std::string_view text,
                                const CommandStruct& definitions, const char* what, bool check)
{
    int status = ZEL_PARSE_OK;
    ZELStackStruct* stack =
        parseCondition(zel::Text(text).c_str(), &status, check ? 1 : 0, definitions.ListHead);
    if (status == ZEL_PARSE_OK) return stack;
    failParse(line, what, status);
}

void failParse(const ParameterLines& line, const char* what, int status)
{
    errno = 0;  // nothing that the system refused
    failAtLine(line, "%sparse error: %s\n", what, ParseErrorMsgs[status]);
}

void readDefinition(const ParameterLines& line, CommandStruct& definitions)
{
    std::string_view text = line.text();
    if (text.find(':') == std::string_view::npos) line.failSyntax();
    takeUpToColon(text);
    std::string_view label = line.word(1);
    CommandListStruct* entry = allocateNewCommand(&definitions);
    entry->Label = copyString(takeUpToColon(label));
    entry->Condition = compileFromLine(line, text, definitions);
}

void readText(const ParameterLines& line, CommandStruct& texts)
{
    CommandListStruct* entry = allocateNewCommand(&texts);
    entry->Label = copyString(unquoted(line.afterCommand()));
}

}  // namespace zel
