#include "formula/formulas.hpp"

#include <fstream>
#include <sstream>

#include "base/failure.hpp"
#include "base/provenance.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "formula/reading.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

std::string trimmed(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Where a text assigns, npos where it does not: "=" that is no part of a comparison.
std::size_t assignment(const std::string& text)
{
    for (std::size_t at = text.find('='); at != std::string::npos; at = text.find('=', at + 1)) {
        if (at + 1 < text.size() && text[at + 1] == '=')
            ++at;
        else if (at == 0 || std::string("!<>").find(text[at - 1]) == std::string::npos)
            return at;
    }
    return std::string::npos;
}

[[noreturn]] void refuse(int status, const std::string& text, const std::string& hint = "")
{
    throw Misuse(format("%s in '%s'", ParseErrorMsgs[status], printable(text).c_str()) + hint);
}

void requireLabel(const std::string& label)
{
    const bool isBad = label.empty() || label.find_first_of("()+*/<>!&|,=\"") != std::string::npos;
    if (isBad) throw Misuse("'" + printable(label) + "' is no name for a channel");
}

// The name and the expression of "name = expression".
std::pair<std::string, std::string> halves(const std::string& text)
{
    const std::size_t at = assignment(text);
    if (at == std::string::npos)
        throw Misuse("'" + printable(text) + "' has no name: write NAME = " + printable(text));
    return {unquoted(trimmed(text.substr(0, at))), trimmed(text.substr(at + 1))};
}

constexpr const char* wantsParentheses =
    ": the language wants parentheses around short constants and exponents before a minus sign";

Statement compileStatement(const std::string& text, Vocabulary& vocabulary)
{
    if (text == "skip_pixel") throw Misuse("skip_pixel has a place in programs only");
    const auto [target, expression] = halves(text);
    const bool makesChannel = !vocabulary.isTarget(target);
    if (makesChannel) requireLabel(target);
    if (assignment(expression) != std::string::npos) refuse(ZEL_PARSE_TWO_ASSIGNMENTS, text);
    Statement made;
    made.text = makesChannel ? expression : text;
    const std::string own = vocabulary.translated(made.text, Text::expression);
    int status = ZEL_PARSE_OK;
    made.stack = compile(own, status, true, vocabulary.definitions());
    const int failed = status;
    made.plain = compile(withPlainMinus(own), status, true, vocabulary.definitions());
    if (!made.stack) refuse(failed, text, made.plain ? wantsParentheses : "");
    if (!makesChannel) return made;
    made.label = target;
    made.channel = vocabulary.newChannel(target);
    return made;
}

struct Line {
    int number;
    std::string text;
};

// The lines of a program but for empty ones and those that begin with "#".
std::vector<Line> programLines(const std::string& file)
{
    requireFile(file);
    std::ifstream stream(file, std::ios::binary);
    std::vector<Line> lines;
    int number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        text = trimmed(text);
        if (!text.empty() && text[0] != '#') lines.push_back({number, text});
    }
    if (stream.bad()) throw Failure("cannot be read");
    return lines;
}

std::vector<Line> translatedLines(std::vector<Line> lines, Vocabulary& vocabulary)
{
    for (Line& line : lines) {
        try {
            line.text = vocabulary.translated(line.text, Text::program);
        } catch (const Failure& failure) {
            throw Failure(format("line %d: ", line.number) + failure.what());
        }
    }
    return lines;
}

// What the library says when it refuses a program.
std::string complaints()
{
    std::vector<std::string> texts;
    for (const std::string& text : heard())
        if (!text.starts_with("warning: ")) texts.push_back(printable(text));
    return join(texts, ": ");
}

Program compileLines(std::vector<Line>& lines, const CommandListStruct* definitions)
{
    std::vector<ProgramLines> list(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        list[i] = {lines[i].text.data(), lines[i].number,
                   i + 1 < lines.size() ? &list[i + 1] : nullptr};
    Program program;
    guarded([&] { program.reset(compileProgramText(list.data(), 0, definitions)); });
    return program;
}

// Null where the library does not take it, which is no matter: it is for comparison only.
Program compilePlain(std::vector<Line> lines, const CommandListStruct* definitions)
{
    for (Line& line : lines) line.text = withPlainMinus(line.text);
    const Hush hush;
    try {
        return compileLines(lines, definitions);
    } catch (const Failure&) {
        return nullptr;
    }
}

// The warnings of the library about a program name its lines only.
void showWarnings(const std::string& file)
{
    for (const std::string& text : heard())
        if (text.starts_with("warning: "))
            warn("", printable(file) + ": " + printable(text.substr(9)));
}

void compileProgram(const std::string& file, Formulas& formulas)
{
    std::vector<Line> lines = programLines(file);
    if (lines.empty()) throw Failure("holds no program");
    lines = translatedLines(std::move(lines), formulas.vocabulary);
    const CommandListStruct* definitions = formulas.vocabulary.definitions();
    try {
        const QuietLibrary quiet;
        formulas.program.program = compileLines(lines, definitions);
    } catch (const Failure&) {
        throw Failure(complaints());
    }
    if (!formulas.program.program) throw Failure(complaints());
    showWarnings(file);
    formulas.program.file = file;
    formulas.program.plain = compilePlain(lines, definitions);
}

void addSurprises(const ZELStackStruct* stack, const ZELStackStruct* plain,
                  const std::string& place, const Vocabulary& vocabulary,
                  std::vector<std::string>& texts)
{
    if (!stack) return;
    if (plain && !isSame(*stack, *plain))
        texts.push_back(format("%sis read as %s, not %s; parentheses make it plain", place.c_str(),
                               readingOf(*stack, vocabulary).c_str(),
                               readingOf(*plain, vocabulary).c_str()));
    for (const std::string& chained : chainedComparisons(*stack, vocabulary))
        texts.push_back(format("%scompares an outcome, 0 or 1: %s; join two comparisons with &&",
                               place.c_str(), chained.c_str()));
}

}  // namespace

std::string Formulas::originOf(const std::string& label) const
{
    for (auto s = statements.rbegin(); s != statements.rend(); ++s)
        if (s->label == label) return s->text;
    return "program " + recordedName(program.file);
}

Uses Formulas::uses() const
{
    Uses all;
    all.add(program.program.get());
    for (const Statement& statement : statements) all.add(statement.stack.get());
    return all;
}

void compileAll(const Sources& sources, Formulas& formulas)
{
    for (const std::string& text : sources.definitions) {
        const auto [name, expression] = halves(text);
        formulas.vocabulary.define(name, expression);
    }
    if (!sources.program.empty()) {
        try {
            compileProgram(sources.program, formulas);
        } catch (const Failure& failure) {
            throw Failure(printable(sources.program) + ": " + failure.what());
        }
    }
    for (const std::string& source : sources.statements)
        for (const std::string& part : split(source, ';'))
            if (const std::string text = trimmed(part); !text.empty())
                formulas.statements.push_back(compileStatement(text, formulas.vocabulary));
}

std::vector<std::string> surprises(const Formulas& formulas)
{
    std::vector<std::string> texts;
    const ProgramStruct* plain = formulas.program.plain.get();
    for (const ProgramStruct* p = formulas.program.program.get(); p; p = p->next) {
        addSurprises(p->Statement, plain ? plain->Statement : nullptr,
                     format("%s: line %d ", printable(formulas.program.file).c_str(), p->lineNum),
                     formulas.vocabulary, texts);
        if (plain) plain = plain->next;
    }
    for (const Statement& s : formulas.statements)
        addSurprises(s.stack.get(), s.plain.get(), "'" + printable(s.text) + "' ",
                     formulas.vocabulary, texts);
    return texts;
}

}  // namespace zel_tool
