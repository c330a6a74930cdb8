#include "writer.hpp"

#include "failure.hpp"
#include "library.hpp"
#include "text.hpp"

namespace zel_tool {

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

void Writer::create(const std::string& name, Overwrite overwrite)
{
    name_ = printable(name);
    file_ = std::make_unique<OutputFile>(name, overwrite);
}

void Writer::open()
{
    int result = 0;
    try {
        guarded([&] {
            ZELSetHistogramFlag(record_.get(), 1);
            ZELSetOverwritePromptOff(record_.get());
            result = ZELOpenWriteOnlyFile(record_.get(), file_->temporary().c_str());
        });
    } catch (const Failure& failure) {
        throw Failure(replaced(failure.what(), file_->temporary(), name_));
    }
    if (result == 0) return;
    throw Failure(replaced(openingReason(file_->temporary()), file_->temporary(), name_));
}

void Writer::writeLine()
{
    try {
        guarded([&] { ZELWriteLine(record_.get()); });
    } catch (const Failure& failure) {
        throw Failure(replaced(failure.what(), file_->temporary(), name_));
    }
}

void Writer::commit()
{
    ZELType* record = record_.release();
    const std::unique_ptr<ZELType> memory(record);
    try {
        guarded([&] { ZELFinishWritingFile(record); });
    } catch (const Failure& failure) {
        throw Failure(replaced(failure.what(), file_->temporary(), name_));
    }
    file_->commit();
}

}  // namespace zel_tool
