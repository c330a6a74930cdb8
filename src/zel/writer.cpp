#include "writer.hpp"

#include "failure.hpp"
#include "library.hpp"
#include "text.hpp"

namespace zel_tool {
namespace {

// The library knows the temporary name only.
std::string renamed(std::string text, const std::string& from, const std::string& to)
{
    if (const auto at = text.find(from); at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

}  // namespace

void Writer::Finish::operator()(ZELType* record) const
{
    const auto finish = [](void* data) { ZELFinishWritingFile(static_cast<ZELType*>(data)); };
    if (record->ReadWriteFlag == ZEL_WRITE_ONLY) ZELGuardedCall(finish, record, nullptr);
    delete record;
}

Writer::Writer(ZELType& view) : record_(new ZELType())
{
    guarded([&] { ZELCopyFileHeaders(record_.get(), &view); });
}

void Writer::open(const std::string& name, Overwrite overwrite)
{
    name_ = name;
    file_ = std::make_unique<OutputFile>(name, overwrite);
    int result = 0;
    try {
        guarded([&] {
            ZELSetHistogramFlag(record_.get(), 1);
            ZELSetOverwritePromptOff(record_.get());
            result = ZELOpenWriteOnlyFile(record_.get(), file_->temporary().c_str());
        });
    } catch (const Failure& failure) {
        throw Failure(renamed(failure.what(), file_->temporary(), printable(name)));
    }
    if (result != 0) throw Failure("cannot create " + printable(name));
}

void Writer::writeLine()
{
    try {
        guarded([&] { ZELWriteLine(record_.get()); });
    } catch (const Failure& failure) {
        throw Failure(renamed(failure.what(), file_->temporary(), printable(name_)));
    }
}

void Writer::commit()
{
    ZELType* record = record_.release();
    const std::unique_ptr<ZELType> memory(record);
    try {
        guarded([&] { ZELFinishWritingFile(record); });
    } catch (const Failure& failure) {
        throw Failure(renamed(failure.what(), file_->temporary(), printable(name_)));
    }
    file_->commit();
}

}  // namespace zel_tool
