#include "combine.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>

#include "progress.h"
#include "zel.h"

namespace zel_combine {
namespace {

constexpr int failed = -1;
constexpr int linesBetweenReports = 50;

// A record is too large for a stack.
using File = std::unique_ptr<ZELType>;

bool openInput(const CommandLineStruct& info, ZELType* in)
{
    if (info.numInputFiles == 1) {
        if (ZELOpenReadOnlyFile(in, info.InputFileName[0]) == 0) return true;
        std::printf("Cannot open input ZEL file %s\n", info.InputFileName[0]);
        return false;
    }
    if (ZELOpenCompositeReadOnlyFile(in, info.InputFileName, info.numInputFiles, info.BaseFile) == 0)
        return true;
    std::printf("Cannot open composite ZEL file \n");
    return false;
}

bool isSameFile(const char* a, const char* b)
{
    struct stat first;
    struct stat second;
    return stat(a, &first) == 0 && stat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// An input would be emptied before its first line is read.
bool sparesInputs(const CommandLineStruct& info)
{
    for (int i = 0; i < info.numInputFiles; ++i) {
        if (!isSameFile(info.InputFileName[i], info.OutputFileName)) continue;
        std::printf("zel_combine: Error: output file %s is one of the input files\n",
                    info.OutputFileName);
        return false;
    }
    return true;
}

bool openOutput(const CommandLineStruct& info, ZELType* out)
{
    ZELSetHistogramFlag(out, 1);
    if (info.overwritePromptFlag)
        ZELSetOverwritePromptOn(out);
    else
        ZELSetOverwritePromptOff(out);
    if (ZELOpenWriteOnlyFile(out, info.OutputFileName) == 0) return true;
    std::printf("Cannot create ZEL output file %s\n", info.OutputFileName);
    return false;
}

int copyLines(ZELType* out, ZELType* in)
{
    Progress progress;
    const double total = ZELFetchNumberOfLines(in);
    int line = 0;
    while (ZELReadLine(in)) {
        ZELCopyLine(out, in);
        ZELWriteLine(out);
        ++line;
        if (line % linesBetweenReports == 0) std::printf("line %d\n", line);
        progress.update("lines", line, total);
    }
    return line;
}

}  // namespace

int writeComposite(CommandLineStruct& info)
{
    std::printf("creating composite ZEL file....\n");
    const Progress progress;
    if (ZELCreateCompositeFile(info.InputFileName, info.numInputFiles, info.BaseFile,
                               info.BaseComponent, info.OutputFileName,
                               info.overwritePromptFlag) < 0)
        std::printf("Error opening input files\n");
    return 0;
}

int writeSameResolution(CommandLineStruct& info)
{
    const File in(new ZELType);
    const File out(new ZELType);
    if (info.vornFlag) {
        std::printf("zel_combine: Error: Vorn input files are not supported yet\n");
        return failed;
    }
    if (!openInput(info, in.get()) || !sparesInputs(info)) return failed;
    ZELCopyFileHeaders(out.get(), in.get());
    if (!openOutput(info, out.get())) return failed;
    ZELPrintHeader(out.get(), stdout);
    const int lines = copyLines(out.get(), in.get());
    ZELFinishReadingFile(in.get());
    ZELFinishWritingFile(out.get());
    std::printf("%d lines processed\n", lines);
    return 0;
}

}  // namespace zel_combine
