// Expressions and pixel programs, compiled once and run on arrays.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "formula/formulas.hpp"
#include "python.hpp"

namespace zel_python {

// A text that the language does not understand, or that names what is not there.
class FormulaError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How the evaluator is safe with several threads. Compiling and freeing count what all expressions
// of the process hold: both happen in calls of the library, one at a time. Running needs no lock.
// The evaluator for lines takes variables from the rows or from the record that it is given, and
// never from the table that evaluations of single pixels bind to one record for the whole process;
// each run has a record of its own, what is worked out for an expression is kept for each thread,
// and ZELDefer keeps messages and endings on the thread where they happen.
class Formula {
public:
    using Labels = std::vector<std::pair<int, std::string>>;         // slot and label
    using Texts = std::vector<std::pair<std::string, std::string>>;  // name and expression

    // Throws FormulaError.
    Formula(const Labels& labels, std::string text, const Texts& definitions, bool isProgram);
    ~Formula();
    Formula(const Formula&) = delete;
    Formula& operator=(const Formula&) = delete;

    // What it names: channels by number, new ones with their labels, variables; and warnings.
    py::dict facts() const;

    // Arrays by channel number and by name of a variable, count values each. The interpreter is
    // unlocked while they are computed. Throws LibraryError.
    py::dict run(const std::map<int, Array<float>>& channels,
                 const std::map<std::string, Array<float>>& variables, py::ssize_t count) const;

private:
    void compileExpression();
    void compileProgram();
    bool isNew(int channel) const;

    std::string text_;
    std::unique_ptr<ZELType> record_;  // labels only
    std::unique_ptr<zel_tool::Vocabulary> vocabulary_;
    zel_tool::Stack stack_;
    zel_tool::Program program_;
    zel_tool::Uses uses_;
    std::vector<std::string> warnings_;
};

}  // namespace zel_python
