#include "zel_features/language/stack.hpp"

#include "ground/memory.hpp"
#include "zel_features/language/zel_feature_report.hpp"

namespace zel {

namespace {

long long inUse = 0;

}  // namespace

StackElementStruct& appendElement(ZELStackStruct& stack)
{
    auto* element = allocate<StackElementStruct>(1);
    if (!element)
        failWithError("allocateNewStackElement: cannot allocate memory for StackElement\n");
    (stack.stackHead ? stack.stackElements->nextElement : stack.stackHead) = element;
    stack.stackElements = element;
    ++stack.numStackElements;
    ++inUse;
    return *element;
}

void appendCopies(ZELStackStruct& stack, const ZELStackStruct& from)
{
    // Counted before: copies appended to the same stack are not copied again.
    const int count = from.numStackElements;
    const StackElementStruct* e = from.stackHead;
    for (int i = 0; i < count && e; ++i, e = e->nextElement) {
        StackElementStruct& copy = appendElement(stack);
        copy.type = e->type;
        copy.op = e->op;
    }
}

void freeElements(ZELStackStruct& stack)
{
    for (StackElementStruct* element = stack.stackHead; element;) {
        StackElementStruct* next = element->nextElement;
        release(element);
        --inUse;
        element = next;
    }
    release(stack.expression);
    stack = {};
}

long long elementsInUse()
{
    return inUse;
}

}  // namespace zel
