#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/parameters/commands.hpp"
#include "zel_features/parameters/lines.hpp"
#include "zel_features/parameters/zel_parameter.hpp"
#include "zel_features/zel_parameter.h"

namespace {

void requireInput(const zel::ParameterFile& file)
{
    if (file.parameters.IO.numInputFiles > 0) return;
    printError(zel::message(file.directoryGiven
                                ? "error: no input files found in specified directories\n"
                                : "error: no input files specified in parameter file\n"));
    printError(zel::message("add one of the following to the parameter file:\n"));
    printError(zel::message("   inputfilename <filename>\n"));
    printError(zel::message("   inputdirext <directory name>:<extension to match>, or\n"));
    zel::failWithError(
        "   inputdirstr <directory name>:<string pattern to match anywhere in filename>\n");
}

void requireOutput(const ZELParameterStruct& parameters)
{
    if (parameters.IO.outputFilename || zel::outputFilenameOverride().isGiven) return;
    printError(zel::message("error: no output file specified in parameter file\n"));
    zel::failWithError("    add outputfilename <filename>\n");
}

void requireFeature(const ZELParameterStruct& parameters)
{
    if (parameters.Features.num > 0) return;
    printError(zel::message("error: no features specified in parameter file\n"));
    printError(zel::message("add the following to the parameter file:\n"));
    zel::failWithError("feature Ch<zel channel index>|<variable>:<optional label string>\n");
}

}  // namespace

void ZELParseParameterFile(const char* filename, ZELParameterStruct* Parameters)
{
    zel::ParameterLines lines(filename, zel::SyntaxErrors::alone);
    if (!lines.isOpen()) {
        *Parameters = {};
        zel::failWithError("cannot open parameter filename %s\n", filename);
    }
    ZELFeatureInitializeParameters(Parameters);
    zel::ParameterFile file{lines, *Parameters, false};
    while (lines.next()) zel::readCommand(file);
    requireInput(file);
    requireOutput(*Parameters);
    requireFeature(*Parameters);
}
