#include "zel_features/parameters/print.hpp"

#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_parameter.h"

namespace {

const char* textOf(const char* text)
{
    return text ? text : "";
}

const char* textOf(const ZELStackStruct* stack)
{
    return stack ? textOf(stack->expression) : "";
}

template <class Print>
void printList(const char* heading, const CommandStruct& list, Print print)
{
    printInfo(zel::message("%s", heading));
    for (const CommandListStruct* entry = list.ListHead; entry; entry = entry->next)
        printInfo(print(*entry));
}

}  // namespace

namespace zel {

void printExpressions(const char* heading, const CommandStruct& list)
{
    printList(heading, list, [](const CommandListStruct& entry) {
        return message("  %s : %s\n", textOf(entry.Label), textOf(entry.Condition));
    });
}

void printFilters(const char* heading, const CommandStruct& list)
{
    printList(heading, list, [](const CommandListStruct& entry) {
        return message("  %s : %s : %s \n", textOf(entry.Label), textOf(entry.Condition),
                       textOf(entry.Action));
    });
}

void printTexts(const char* heading, const CommandStruct& list)
{
    printList(heading, list, [](const CommandListStruct& entry) {
        return message("  %s\n", textOf(entry.Label));
    });
}

}  // namespace zel

void ZELFeaturePrintConditions(const ZELParameterStruct* Parameters)
{
    zel::printExpressions("Conditions defined in parameter file:\n", Parameters->Conditions);
}

void ZELFeaturePrintRequirements(const ZELParameterStruct* Parameters)
{
    zel::printExpressions("Requirements applied:\n", Parameters->Requirements);
}

void ZELFeaturePrintOptions(const ZELParameterStruct* Parameters)
{
    zel::printExpressions("Options included:\n", Parameters->Options);
}

void ZELFeaturePrintFilters(const ZELParameterStruct* Parameters)
{
    zel::printFilters("Filters applied:\n", Parameters->Filters);
}

void ZELFeaturePrintComments(const ZELParameterStruct* Parameters)
{
    zel::printTexts("Comments:\n", Parameters->Comments);
}

void ZELFeaturePrintTitle(const ZELParameterStruct* Parameters)
{
    zel::printTexts("Title:\n", Parameters->Title);
}

void ZELFeaturePrintHeader(const ZELParameterStruct* Parameters)
{
    const InfoStruct& header = Parameters->Header;
    printInfo(zel::message("Feature Header:\n"));
    printInfo(zel::message("  Version: %s\n", textOf(header.VersionNumber)));
    printInfo(zel::message("  Identifier: %s\n", textOf(header.IdentifierString)));
    printInfo(zel::message("  Date: %s\n", textOf(header.DateTimeString)));
}
