/* Expressions: the operators and variables of the language, and compiling a text to a postfix list.

   White space means nothing anywhere. Operands are constants, Ch<n>, register<n>, the pixel
   variables and named definitions; variable names, "Ch" and "register" are matched without regard
   to case, operators and definition labels exactly. The element kinds, the operators and the status
   codes are enumerated in zel_feature_types.h. */
#ifndef ZEL_EXPRESSION_H
#define ZEL_EXPRESSION_H

#include "zel_feature_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Labels of the kinds 0 to 5. */
extern const char* const* const typeLabels;

typedef struct OperatorStruct {
    const char* name;  /* the text that is matched */
    int OperatorIndex; /* its position in Operators */
    int numOperands;   /* values that it pops */
} OperatorStruct;

/* The operators of one precedence, in the order in which they are tried at a position. */
typedef struct OperatorLevelStruct {
    int numOperators;
    const OperatorStruct* Operators;
} OperatorLevelStruct;

enum { ZEL_MAX_OPERATOR_LEVELS = 16 };

/* The 33 operators and their labels, and the 11 levels, of which level 0 binds weakest; there is
   room for 16. */
extern const OperatorStruct* const Operators;
extern const char* const* const operatorLabels;
extern const int numOperators;
extern const OperatorLevelStruct* const OperatorLevels;
extern const int numOperatorLevels;

/* The message of each status. */
extern const char* const ParseErrorMsgs[ZEL_NUM_PARSE_STATUSES];

/* Compiles line into *stack and returns the status. The stack's previous content is overwritten,
   not freed: pass an empty one. CheckFlag non-zero also requires that the text is one expression
   with one value (else 3) and at most one assignment (else 5). definedConditions is the first entry
   of a list of named definitions, or null; an entry without a Label or a Condition is ignored. A
   text of more than 240 characters that are not blank gives 3, as do definitions that stand for
   more than 100,000 elements, or with which all stacks of the process have more than 4,000,000: a
   process that gets there frees stacks before it compiles more. After a failure the stack holds
   what was compiled until then and is still to be freed. Ends the process (-1) when memory
   fails. */
int ZELParseExpression(const char* line, ZELStackStruct* stack, int CheckFlag,
                       const CommandListStruct* definedConditions);

/* Compiles line into a new stack and stores the status through status. Returns the stack, which
   the caller owns (zel_feature_types.h; free it with ZELFreeStack), or null when the status is not
   0. Ends the process (-1) when memory fails. */
ZELStackStruct* parseCondition(const char* line, int* status, int CheckFlag,
                               const CommandListStruct* definedConditions);

/* Frees the elements and the text of a stack and empties it. Null is allowed. */
void ZELFreeStackElements(ZELStackStruct* stack);

/* ZELFreeStackElements, and the record itself as parseCondition allocated it. Null is allowed. */
void ZELFreeStack(ZELStackStruct* stack);

/* Appends copies of all elements of stackFrom to stackTo, the stack being built. */
void addStack(ZELStackStruct* stackTo, const ZELStackStruct* stackFrom);

/* Prints a line for each element on standard output: kind, then the number of a variable, channel
   or register, the value of a constant, or the label and text of an operator. */
void printStack(const ZELStackStruct* stack);

#ifdef __cplusplus
}
#endif
#endif
