#include "zel_features/zel_program_file.h"

#include <utility>

#include "zel_features/files/records.hpp"
#include "zel_features/files/zel_program_file.hpp"
#include "zel_features/program/zel_program.hpp"

namespace zel {

ProgramLines* readProgramText(FeatureReader& reader)
{
    OwnedProgramText text;
    walkProgramText(reader, text.first, 0);
    return std::exchange(text.first, nullptr);
}

}  // namespace zel

ProgramLines* ZELFeatureReadProgramText(FILE* fptr)
{
    return zel::readFeatures(fptr, zel::readProgramText);
}

void ZELFeatureWriteProgramText(FILE* fptr, const ProgramLines* ProgramText)
{
    int lines = 0;
    for (const ProgramLines* line = ProgramText; line; line = line->next) ++lines;
    zel::FeatureWriter writer(fptr);
    zel::walkProgramText(writer, ProgramText, lines);
}
