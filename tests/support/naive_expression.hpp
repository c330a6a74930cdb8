// A second evaluator of expressions, slow and plain: the language read rule by rule from its
// description, on strings. It shares nothing with the library.
#pragma once

#include <string>
#include <vector>

namespace zel_test {

// One step of a postfix list, as printStack would show it, and what it works on.
struct NaiveItem {
    std::string kind;  // OPER, CON, CHAN, VAR, LVALUE, CHAN_LVALUE, REG or REG_LVALUE
    std::string text;  // the operator's text
    int number = 0;    // its index, or that of a variable, channel or register
    float value = 0;   // of a constant
};

struct NaiveResult {
    int status = 0;
    std::vector<NaiveItem> items;
};

// Compiles a text without named definitions.
NaiveResult naiveCompile(const std::string& text, bool check);

// As printStack prints it.
std::string naiveDump(const std::vector<NaiveItem>& items);

struct NaivePixel {
    std::vector<float> variables = std::vector<float>(19);  // aliases share: set all names of one
    std::vector<float> channels;
    std::vector<float> registers = std::vector<float>(20);
    bool skipped = false;
};

// The value; failure says in a few words what went wrong, empty for nothing.
float naiveEvaluate(const std::vector<NaiveItem>& items, NaivePixel& pixel, std::string& failure);

}  // namespace zel_test
