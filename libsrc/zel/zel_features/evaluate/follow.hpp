// Following the elements of a postfix list: the evaluation of a pixel and the planner of a line
// both come here.
#ifndef ZEL_FEATURES_EVALUATE_FOLLOW_HPP
#define ZEL_FEATURES_EVALUATE_FOLLOW_HPP

#include "zel_features/zel_evaluate.h"
#include "zel_features/zel_expression.h"

namespace zel {

enum class Followed {
    toTheEnd,
    skipped,  // skip_pixel was reached, the rest of the list is not followed
    refused   // the machine went no further
};

// Machine says what an element does, and returns false to go no further: push(value), pushChannel,
// pushVariable and pushRegister of an index from 0, apply(operatorIndex), assign(); and whether a
// channel, register or operator that an element names is allowed.
template <class Machine>
bool takeElement(const StackElementStruct& element, Machine& machine)
{
    const int n = element.op.int_t;
    switch (element.type) {
    case CON:
        return machine.push(element.op.float_t);
    case CHAN:
        return machine.allowsChannel(n) && machine.pushChannel(n - 1);
    case VAR:
        return machine.allowsVariable(n) && machine.pushVariable(n);
    case LVALUE:
        return machine.push(static_cast<float>(n));
    case CHAN_LVALUE:
        return machine.allowsChannel(n) &&
               machine.push(static_cast<float>(n - 1 + ZEL_TARGET_CHANNEL));
    case REG:
        return machine.allowsRegister(n) && machine.pushRegister(n - 1);
    case REG_LVALUE:
        return machine.allowsRegister(n) &&
               machine.push(static_cast<float>(n - 1 + ZEL_TARGET_REGISTER));
    default:
        if (!machine.allowsOperator(element.type == OPER && n >= 0 && n < ZEL_NUM_OPERATORS))
            return false;
        return n == COMMA || (n == SET_VARIABLE ? machine.assign() : machine.apply(n));
    }
}

template <class Machine>
Followed follow(const StackElementStruct* element, Machine& machine)
{
    for (; element; element = element->nextElement) {
        if (element->type == OPER && element->op.int_t == SKIP_PIXEL) return Followed::skipped;
        if (!takeElement(*element, machine)) return Followed::refused;
    }
    return Followed::toTheEnd;
}

}  // namespace zel

#endif
