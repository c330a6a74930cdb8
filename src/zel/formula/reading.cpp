#include "formula/reading.hpp"

#include "base/text.hpp"

namespace zel_tool {
namespace {

// A value that is pending while the postfix list is walked.
struct Part {
    std::string text;
    bool isWhole = true;   // needs no parentheses inside of another part
    bool isOrder = false;  // the outcome of <, <=, > or >=
};

bool comparesOrder(int op)
{
    return op == LESSTHAN || op == LESSTHANOREQUAL || op == GREATERTHAN || op == GREATERTHANOREQUAL;
}

class Reader {
public:
    explicit Reader(const Vocabulary& vocabulary) : vocabulary_(vocabulary) {}

    void read(const ZELStackStruct& stack)
    {
        for (const StackElementStruct* e = stack.stackHead; e; e = e->nextElement)
            e->type == OPER ? apply(e->op.int_t) : push(operand(*e));
    }

    std::string text() const { return parts_.empty() ? "" : parts_.front().text; }
    const std::vector<std::string>& chained() const { return chained_; }

private:
    Part operand(const StackElementStruct& element) const
    {
        const int number = element.op.int_t;
        switch (element.type) {
        case CON:
            return {shortest(element.op.float_t)};
        case CHAN:
        case CHAN_LVALUE:
            return {vocabulary_.channelName(number)};
        case REG:
        case REG_LVALUE:
            return {format("register%d", number)};
        default:
            return {vocabulary_.variableName(number)};
        }
    }

    void push(Part part) { parts_.push_back(std::move(part)); }

    // The library refuses to evaluate what has operands missing.
    Part pop()
    {
        if (parts_.empty()) return {"?"};
        Part part = std::move(parts_.back());
        parts_.pop_back();
        return part;
    }

    static std::string inner(const Part& part)
    {
        return part.isWhole ? part.text : "(" + part.text + ")";
    }

    void apply(int op)
    {
        const std::string name = Operators[op].name;
        if (op == COMMA) return;
        if (op == SKIP_PIXEL) return push({name});
        if (op >= VAL) return push({name + "(" + arguments(Operators[op].numOperands) + ")"});
        const Part right = pop();
        if (op == NEGATIVE || op == NOT) return push({name + inner(right), false});
        const Part left = pop();
        Part made{inner(left) + " " + name + " " + (op == SET_VARIABLE ? right.text : inner(right)),
                  false, comparesOrder(op)};
        if (made.isOrder && (left.isOrder || right.isOrder)) chained_.push_back(made.text);
        push(std::move(made));
    }

    std::string arguments(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            const std::string argument = pop().text;
            text.insert(0, text.empty() ? argument : argument + ", ");
        }
        return text;
    }

    const Vocabulary& vocabulary_;
    std::vector<Part> parts_;
    std::vector<std::string> chained_;
};

}  // namespace

std::string readingOf(const ZELStackStruct& stack, const Vocabulary& vocabulary)
{
    Reader reader(vocabulary);
    reader.read(stack);
    return reader.text();
}

bool isSame(const ZELStackStruct& a, const ZELStackStruct& b)
{
    const StackElementStruct* x = a.stackHead;
    const StackElementStruct* y = b.stackHead;
    for (; x && y; x = x->nextElement, y = y->nextElement)
        if (x->type != y->type || x->op.int_t != y->op.int_t) return false;
    return !x && !y;
}

std::vector<std::string> chainedComparisons(const ZELStackStruct& stack,
                                            const Vocabulary& vocabulary)
{
    Reader reader(vocabulary);
    reader.read(stack);
    return reader.chained();
}

}  // namespace zel_tool
