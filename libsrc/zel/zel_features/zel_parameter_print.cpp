#include "zel_feature_report.hpp"
#include "zel_parameter.h"

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

void printExpressions(const char* heading, const CommandStruct& list)
{
    printList(heading, list, [](const CommandListStruct& entry) {
        return zel::message("  %s : %s\n", textOf(entry.Label), textOf(entry.Condition));
    });
}

void printTexts(const char* heading, const CommandStruct& list)
{
    printList(heading, list, [](const CommandListStruct& entry) {
        return zel::message("  %s\n", textOf(entry.Label));
    });
}

}  // namespace

void ZELFeaturePrintConditions(const ZELParameterStruct* Parameters)
{
    printExpressions("Conditions defined in parameter file:\n", Parameters->Conditions);
}

void ZELFeaturePrintRequirements(const ZELParameterStruct* Parameters)
{
    printExpressions("Requirements applied:\n", Parameters->Requirements);
}

void ZELFeaturePrintOptions(const ZELParameterStruct* Parameters)
{
    printExpressions("Options included:\n", Parameters->Options);
}

void ZELFeaturePrintFilters(const ZELParameterStruct* Parameters)
{
    printList("Filters applied:\n", Parameters->Filters, [](const CommandListStruct& entry) {
        return zel::message("  %s : %s : %s \n", textOf(entry.Label), textOf(entry.Condition),
                            textOf(entry.Action));
    });
}

void ZELFeaturePrintComments(const ZELParameterStruct* Parameters)
{
    printTexts("Comments:\n", Parameters->Comments);
}

void ZELFeaturePrintTitle(const ZELParameterStruct* Parameters)
{
    printTexts("Title:\n", Parameters->Title);
}

void ZELFeaturePrintHeader(const ZELParameterStruct* Parameters)
{
    const InfoStruct& header = Parameters->Header;
    printInfo(zel::message("Feature Header:\n"));
    printInfo(zel::message("  Version: %s\n", textOf(header.VersionNumber)));
    printInfo(zel::message("  Identifier: %s\n", textOf(header.IdentifierString)));
    printInfo(zel::message("  Date: %s\n", textOf(header.DateTimeString)));
}
