#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "zel_features/language/parentheses.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/truncate.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/program/zel_program.hpp"
#include "zel_features/zel_expression.h"
#include "zel_features/zel_program.h"

namespace {

using std::string_view;

string_view trimmed(string_view text)
{
    while (!text.empty() && zel::isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && zel::isBlank(text.back())) text.remove_suffix(1);
    return text;
}

// The word that a statement begins with ends at a blank or a "(": if(Ch1>5) is an if.
string_view firstWord(string_view text)
{
    const auto end =
        std::find_if(text.begin(), text.end(), [](char c) { return zel::isBlank(c) || c == '('; });
    return {text.begin(), end};
}

// Compiles line by line, then links. What was compiled is freed unless it is given away.
class ProgramCompiler {
public:
    ProgramCompiler(int processFlag, const CommandListStruct* definitions)
        : postProcess_(processFlag == 1), definitions_(definitions)
    {
    }
    ~ProgramCompiler() { ZELFeatureFreeProgram(first_); }
    ProgramCompiler(const ProgramCompiler&) = delete;
    ProgramCompiler& operator=(const ProgramCompiler&) = delete;

    // False after an error, which was printed.
    bool compileLine(const ProgramLines& line);

    // Links what was compiled, and gives it away.
    ProgramStruct* link();

private:
    // What is still to be compiled of the line, or nothing after an error.
    using Rest = std::optional<string_view>;

    struct KeywordRow {
        const char* word;
        Rest (ProgramCompiler::*compile)(string_view rest);
    };
    static const KeywordRow keywordRows[];

    Rest compileStatement(string_view text);
    Rest compileIf(string_view rest);
    Rest compileElse(string_view rest);
    Rest compileWeights(string_view rest);
    Rest compileOther(string_view text);
    template <int kind>
    Rest compilePlain(string_view)
    {
        add(kind);
        return string_view();
    }

    ProgramStruct* add(int kind);
    void dropStatement();
    bool endsSingleLineIf() const;
    ZELStackStruct* compile(string_view text, int checkFlag, const char* what);
    std::nullopt_t fail(const char* error, const char* usage = "") const;

    const bool postProcess_;
    const CommandListStruct* const definitions_;
    const ProgramLines* line_ = nullptr;
    ProgramStruct* first_ = nullptr;
    ProgramStruct* last_ = nullptr;
};

const ProgramCompiler::KeywordRow ProgramCompiler::keywordRows[] = {
    {"if", &ProgramCompiler::compileIf},
    {"else", &ProgramCompiler::compileElse},
    {"endif", &ProgramCompiler::compilePlain<ENDIF_STATEMENT>},
    {"weightclasses", &ProgramCompiler::compileWeights},
    {"begin", &ProgramCompiler::compilePlain<BEGIN_STATEMENT>},
    {"end", &ProgramCompiler::compilePlain<END_STATEMENT>},
    {"return", &ProgramCompiler::compilePlain<RETURN_STATEMENT>},
};

// An if or an else may be followed by a statement, which may be another if.
bool ProgramCompiler::compileLine(const ProgramLines& line)
{
    line_ = &line;
    Rest rest = trimmed(line.text ? line.text : "");
    while (rest && !rest->empty()) rest = compileStatement(*rest);
    return rest.has_value();
}

ProgramCompiler::Rest ProgramCompiler::compileStatement(string_view text)
{
    const string_view word = firstWord(text);
    for (const KeywordRow& row : keywordRows)
        if (zel::sameIgnoringCase(word, row.word))
            return (this->*row.compile)(trimmed(text.substr(word.size())));
    return compileOther(text);
}

ProgramCompiler::Rest ProgramCompiler::compileIf(string_view rest)
{
    const std::size_t opening = rest.find('(');
    if (opening == string_view::npos)
        return fail("parse error: Missing start Parenthesis in if condition\n");
    rest.remove_prefix(opening);
    const std::size_t closing = zel::closingParenthesis(rest);
    if (closing == string_view::npos)
        return fail("parse error: Missing end Parenthesis in if condition\n");
    ProgramStruct* statement = add(IF_STATEMENT);
    statement->Statement = compile(rest.substr(1, closing - 1), 1, "If condition");
    if (!statement->Statement) return std::nullopt;
    rest = trimmed(rest.substr(closing + 1));
    if (rest.empty()) return fail("if syntax errror: Missing then or statement\n");
    if (!zel::sameIgnoringCase(rest, "then")) return rest;
    add(THEN_STATEMENT);
    return string_view();
}

// The statement of a single-line if is the last one, right after the if itself.
bool ProgramCompiler::endsSingleLineIf() const
{
    return last_ && last_->previous && last_->previous->statementType == IF_STATEMENT &&
           last_->statementType != THEN_STATEMENT && last_->statementType != IF_STATEMENT;
}

ProgramCompiler::Rest ProgramCompiler::compileElse(string_view rest)
{
    if (endsSingleLineIf()) add(IMPLIED_ENDIF_STATEMENT);
    add(ELSE_STATEMENT);
    if (rest.empty()) add(ELSE_THEN_STATEMENT);
    return rest;
}

ProgramCompiler::Rest ProgramCompiler::compileWeights(string_view rest)
{
    if (postProcess_) {
        printInfo(zel::message("weightclasses found in postprocess... ignored\n"));
        dropStatement();
        return string_view();
    }
    const std::size_t colon = rest.find(':');
    if (colon == string_view::npos)
        return fail("Error: missing colon in weightclasses\n",
                    "Usage: weightclasses  <class list separated by commas>:"
                    "<weight value expression>\n");
    ProgramStruct* statement = add(WEIGHT_STATEMENT);
    statement->ClassList = compile(rest.substr(0, colon), 0, "ClassList");
    if (!statement->ClassList) return std::nullopt;
    statement->Statement = compile(rest.substr(colon + 1), 1, "Weight value");
    if (!statement->Statement) return std::nullopt;
    return string_view();
}

ProgramCompiler::Rest ProgramCompiler::compileOther(string_view text)
{
    ProgramStruct* statement = add(OTHER_STATEMENT);
    statement->Statement = compile(text, 1, "statement");
    if (!statement->Statement) return std::nullopt;
    return string_view();
}

// A single-line if or else without its statement would take the next line for it.
void ProgramCompiler::dropStatement()
{
    const int before = last_ ? last_->statementType : OTHER_STATEMENT;
    if (before == IF_STATEMENT) add(IF_END_STATEMENT);
    if (before == ELSE_STATEMENT) add(END_ELSE_STATEMENT);
}

ProgramStruct* ProgramCompiler::add(int kind)
{
    last_ = addProgamStatement(last_, kind, line_->lineNumber);
    if (!first_) first_ = last_;
    return last_;
}

ZELStackStruct* ProgramCompiler::compile(string_view text, int checkFlag, const char* what)
{
    int status = ZEL_PARSE_OK;
    ZELStackStruct* stack =
        parseCondition(zel::Text(text).c_str(), &status, checkFlag, definitions_);
    if (stack) return stack;
    fail("");
    printError(zel::message("%s parse error: %s\n", what, ParseErrorMsgs[status]));
    return nullptr;
}

std::nullopt_t ProgramCompiler::fail(const char* error, const char* usage) const
{
    errno = 0;  // nothing that the system refused
    printError(zel::message("line %d: %s\n", line_->lineNumber, line_->text));
    for (const char* text : {error, usage})
        if (*text) printError(zel::message("%s", text));
    return std::nullopt;
}

// Linking gives the statement before an else no way around it, and makes an expression of it before
// an else if. Programs in use depend on it; who writes a new one wants to know.
class ElseWarnings {
public:
    explicit ElseWarnings(const ProgramStruct* program)
    {
        for (; program; program = program->next)
            if (program->statementType == ELSE_STATEMENT && program->previous && program->next)
                look(*program->previous, program->next->statementType);
    }
    void print() const
    {
        for (const Warning& w : warnings_)
            zel::reportTo(stderr, "%s", zel::message("warning: line %d: %s\n", w.line, w.text));
    }

private:
    struct Warning {
        int line;
        const char* text;
    };

    void look(const ProgramStruct& before, int following)
    {
        if (following == ELSE_THEN_STATEMENT) lookBeforeBlock(before);
        if (following != IF_STATEMENT) return;
        if (before.statementType == WEIGHT_STATEMENT)
            add(before, "weightclasses right before an else if sets no weights");
        if (before.statementType == RETURN_STATEMENT)
            add(before, "return right before an else if goes on after the endif");
    }
    void lookBeforeBlock(const ProgramStruct& before)
    {
        switch (before.statementType) {
        case IMPLIED_ENDIF_STATEMENT:
        case RETURN_STATEMENT:
            return;
        case OTHER_STATEMENT:
            if (!skips(*before.Statement) && !isZero(*before.Statement))
                add(before, "a value other than 0 goes on into the else block");
            return;
        default:
            add(before, "the statement goes on into the else block");
        }
    }
    static bool skips(const ZELStackStruct& stack)
    {
        for (const StackElementStruct* e = stack.stackHead; e; e = e->nextElement)
            if (e->type == OPER && e->op.int_t == SKIP_PIXEL) return true;
        return false;
    }
    // A constant without anything before its point, alone or assigned: register20 = 0.
    static bool isZero(const ZELStackStruct& stack)
    {
        const StackElementStruct* e = stack.stackHead;
        const bool assigned = stack.numStackElements == 3 && stack.stackElements->type == OPER &&
                              stack.stackElements->op.int_t == SET_VARIABLE;
        if (assigned) e = e->nextElement;
        return (assigned || stack.numStackElements == 1) && e->type == CON &&
               zel::truncatesToZero(e->op.float_t);
    }
    void add(const ProgramStruct& statement, const char* text)
    {
        warnings_.push_back({statement.lineNum, text});
    }

    std::vector<Warning, zel::Allocator<Warning>> warnings_;
};

ProgramStruct* ProgramCompiler::link()
{
    const ElseWarnings warnings(first_);
    setupProgramLogic(first_);
    warnings.print();
    return std::exchange(first_, nullptr);
}

}  // namespace

bool zel::compileProgram(const ProgramLines* text, int processFlag,
                         const CommandListStruct* definitions, ProgramStruct*& program)
{
    ProgramCompiler compiler(processFlag, definitions);
    for (; text; text = text->next)
        if (!compiler.compileLine(*text)) return false;
    program = compiler.link();
    return true;
}

ProgramStruct* compileProgramText(const ProgramLines* ProgramText, int processFlag,
                                  const CommandListStruct* definedConditions)
{
    ProgramStruct* program = nullptr;
    zel::compileProgram(ProgramText, processFlag, definedConditions, program);
    return program;
}
