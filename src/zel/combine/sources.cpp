#include "combine/sources.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <numeric>

#include "base/failure.hpp"
#include "base/output_file.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

std::string named(const std::string& file, const std::string& message)
{
    return printable(file) + ": " + message;
}

long long changeOf(const std::string& file)
{
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) return -1;
    return status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec;
}

Source sourceOf(const std::string& file)
{
    int base = 0;
    int count = 1;
    int offsets[ZEL_MAX_COMPONENTS];
    int sizes[ZEL_MAX_COMPONENTS];
    float resolutions[ZEL_MAX_COMPONENTS];
    const long long bytes = requireFile(file);
    int result = 0;
    guarded([&] {
        result = ZELReadCompositeInfo(file.c_str(), &base, &count, offsets, resolutions, sizes);
    });
    if (result < 0) throw Failure(openingReason(file));
    const bool inside = count >= 1 && count <= ZEL_MAX_COMPONENTS && base >= 0 && base < count;
    if (!inside) throw Failure("corrupt directory of parts");
    return {file, count, base, bytes, changeOf(file)};
}

// Every file alone, so that the one that is damaged is named.
std::vector<Source> sourcesOf(const std::vector<std::string>& files)
{
    std::vector<Source> sources;
    for (const std::string& file : files) {
        try {
            sources.push_back(sourceOf(file));
        } catch (const Failure& failure) {
            throw Failure(named(file, failure.what()));
        }
    }
    return sources;
}

void openAlone(const std::vector<std::string>& files)
{
    for (const std::string& file : files) {
        try {
            const Scene alone(file);
        } catch (const Failure& failure) {
            throw Failure(named(file, failure.what()));
        }
    }
}

std::unique_ptr<Scene> openTogether(const std::vector<std::string>& files, int parts, int base)
{
    const QuietLibrary quiet;
    try {
        if (parts == 1) return std::make_unique<Scene>(files.front(), Tables::with);
        return std::make_unique<Scene>(files, base);
    } catch (const Failure&) {
        openAlone(files);
        throw;
    }
}

// All open files share one byte order: several are read right only if it is the machine's. A file
// with a prefix always is.
void requireOrder(const std::string& file)
{
    const Scene alone(file);
    const int own = SwapByteOrdering;
    CheckByteOrder();
    if (own != SwapByteOrdering)
        throw Failure(named(file, "is of the other byte order; zel combine makes a file of it, "
                                  "alone, that can be combined"));
}

bool hasPrefix(const ZELType& record)
{
    return record.ZELHeader.VersionNumber > 1.505F;
}

}  // namespace

Sources::Sources(const std::vector<std::string>& files, int base, int basePart)
    : files_(sourcesOf(files)), base_(0)
{
    for (std::size_t i = 0; i < files_.size(); ++i)
        owners_.insert(owners_.end(), static_cast<std::size_t>(files_[i].parts),
                       static_cast<int>(i));
    const auto baseFile = files_.begin() + base;
    if (basePart >= baseFile->parts)
        throw Failure(named(baseFile->file, format("no part %d; there are 0 to %d", basePart,
                                                   baseFile->parts - 1)));
    base_ = std::accumulate(files_.begin(), baseFile, 0,
                            [](int sum, const Source& source) { return sum + source.parts; });
    base_ += basePart < 0 ? baseFile->basePart : basePart;
    scene_ = openTogether(files, partCount(), base_);
    byteOrder_ = SwapByteOrdering;
    for (int i = 0; partCount() > 1 && i < partCount(); ++i)
        if (!hasPrefix(part(i))) requireOrder(files[static_cast<std::size_t>(fileOf(i))]);
}

int Sources::indexInFile(int part) const
{
    const auto first = std::find(owners_.begin(), owners_.end(), fileOf(part));
    return part - static_cast<int>(first - owners_.begin());
}

// Opening the output has set the machine's order, in which it is written.
void Sources::readLine(int line)
{
    const int order = SwapByteOrdering;
    SwapByteOrdering = byteOrder_;
    zel_tool::readLine(view(), line, Decode::yes);
    SwapByteOrdering = order;
}

void Sources::requireUnchanged() const
{
    for (const Source& source : files_)
        if (requireFile(source.file) != source.bytes || changeOf(source.file) != source.changed)
            throw Failure(named(source.file, "changed while it was read"));
}

int findFile(const std::vector<std::string>& files, const std::string& name)
{
    auto found = std::find(files.begin(), files.end(), name);
    if (found == files.end())
        found = std::find_if(files.begin(), files.end(),
                             [&](const std::string& file) { return isSameFile(file, name); });
    if (found == files.end())
        throw Misuse("the base " + printable(name) + " is not one of the files");
    return static_cast<int>(found - files.begin());
}

}  // namespace zel_tool
