// Compiled expressions and named definitions for the length of a scope.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "zel_features/zel_features.h"

namespace zel_test {

struct Compiled {
    explicit Compiled(const std::string& text, bool check = true,
                      const CommandListStruct* definitions = nullptr)
        : status(ZELParseExpression(text.c_str(), &stack, check ? 1 : 0, definitions))
    {
    }
    ~Compiled() { ZELFreeStackElements(&stack); }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    ZELStackStruct stack;
    int status;
};

// Named definitions; an expression may use the labels before it.
class Definitions {
public:
    struct Row {
        const char* label;
        const char* text;
    };

    Definitions(std::initializer_list<Row> rows) : entries_(rows.size())
    {
        for (const Row& row : rows) {
            const std::size_t i = definitions_.size();
            definitions_.push_back(std::make_unique<Definition>(row, i > 0 ? first() : nullptr));
            entries_[i].Label = definitions_[i]->label.data();
            entries_[i].Condition = &definitions_[i]->compiled.stack;
            if (i > 0) entries_[i - 1].next = &entries_[i];
        }
    }

    const CommandListStruct* first() const { return entries_.data(); }

private:
    struct Definition {
        Definition(const Row& row, const CommandListStruct* before)
            : label(row.label), compiled(row.text, true, before)
        {
        }
        std::string label;
        Compiled compiled;
    };

    std::vector<CommandListStruct> entries_;
    std::vector<std::unique_ptr<Definition>> definitions_;
};

}  // namespace zel_test
