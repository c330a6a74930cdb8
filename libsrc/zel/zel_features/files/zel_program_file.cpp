#include "zel_features/zel_program_file.h"

#include <utility>

#include "zel_features/files/records.hpp"
#include "zel_features/program/zel_program.hpp"

ProgramLines* ZELFeatureReadProgramText(FILE* fptr)
{
    return zel::readFeatures(fptr, [](zel::FeatureReader& reader) {
        zel::OwnedProgramText text;
        zel::walkProgramText(reader, text.first, 0);
        return std::exchange(text.first, nullptr);
    });
}

void ZELFeatureWriteProgramText(FILE* fptr, const ProgramLines* ProgramText)
{
    int lines = 0;
    for (const ProgramLines* line = ProgramText; line; line = line->next) ++lines;
    zel::FeatureWriter writer(fptr);
    zel::walkProgramText(writer, ProgramText, lines);
}
