#include "combine.hpp"

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "input_lines.hpp"
#include "losses.hpp"
#include "progress.hpp"
#include "vorn_channels.hpp"
#include "zel.h"

namespace zel_combine {
namespace {

constexpr int failed = -1;
constexpr int linesBetweenReports = 50;

// A record is too large for the stack. A file that was opened is finished however the run ends.
template <int mode, void (*finish)(ZELType*)>
struct Finish {
    void operator()(ZELType* file) const
    {
        if (file->ReadWriteFlag == mode) finish(file);
        delete file;
    }
};
using InputFile = std::unique_ptr<ZELType, Finish<ZEL_READ_ONLY, ZELFinishReadingFile>>;
using OutputFile = std::unique_ptr<ZELType, Finish<ZEL_WRITE_ONLY, ZELFinishWritingFile>>;

// The view to read, or null.
InputFile openInput(const CommandLineStruct& info)
{
    InputFile in(new ZELType{});
    if (info.numInputFiles == 1) {
        if (ZELOpenReadOnlyFileNoTables(in.get(), info.InputFileName[0]) == 0) return in;
        std::printf("Cannot open input ZEL file %s\n", info.InputFileName[0]);
        return nullptr;
    }
    if (ZELOpenCompositeReadOnlyFileNoTables(in.get(), info.InputFileName, info.numInputFiles,
                                             info.BaseFile) == 0)
        return in;
    std::printf("Cannot open composite ZEL file \n");
    return nullptr;
}

// A file to be written with the header and channels of the view.
OutputFile copyHeaders(ZELType* in)
{
    OutputFile out(new ZELType{});
    ZELCopyFileHeaders(out.get(), in);
    return out;
}

bool isSameFile(const char* a, const char* b)
{
    struct stat first;
    struct stat second;
    return stat(a, &first) == 0 && stat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// Every file that the run reads.
std::vector<const char*> namesOfInputs(const CommandLineStruct& info, const VornChannels& vorn)
{
    std::vector<const char*> names(info.InputFileName, info.InputFileName + info.numInputFiles);
    if (!info.vornFlag) return names;
    for (const char* name : vorn.filesRead(info)) names.push_back(name);
    return names;
}

// Creating the output would empty an input before its first line is read.
bool sparesInputs(const CommandLineStruct& info, const VornChannels& vorn)
{
    for (const char* name : namesOfInputs(info, vorn)) {
        if (!isSameFile(name, info.OutputFileName)) continue;
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

// The number of lines copied; nothing, after a message, when a line cannot be copied.
std::optional<int> copyLines(ZELType* out, ZELType* in, VornChannels& vorn)
{
    Progress progress;
    const double total = ZELFetchNumberOfLines(in);
    int line = 0;
    InputLines lines(in, numThreads());
    while (lines.next()) {
        ZELCopyLine(out, in);
        lines.release();
        if (!vorn.loadLine(out)) return std::nullopt;
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
    InputFile in = openInput(info);
    if (!in) return failed;
    VornChannels vorn;
    const int status = info.vornFlag ? vorn.open(info, in.get()) : 0;
    if (status != 0) return status;
    if (!sparesInputs(info, vorn)) return failed;
    OutputFile out = copyHeaders(in.get());
    if (info.vornFlag && !vorn.declare(info, in.get(), out.get())) return failed;
    if (!openOutput(info, out.get())) return failed;
    ZELPrintHeader(out.get(), stdout);
    const std::optional<int> lines = copyLines(out.get(), in.get(), vorn);
    if (!lines) return failed;
    warnOfLosses(*in);
    in.reset();
    out.reset();
    std::printf("%d lines processed\n", *lines);
    return 0;
}

}  // namespace zel_combine
