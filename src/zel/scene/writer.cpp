#include "scene/writer.hpp"

#include "base/failure.hpp"
#include "scene/library.hpp"
#include "scene/metadata_text.hpp"

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
    name_ = name;
    file_ = std::make_unique<OutputFile>(name, overwrite);
}

void Writer::open()
{
    int result = 0;
    addProvenance(record_->ZELHeader);
    guardedWriting(file_->temporary(), name_, [&] {
        ZELSetHistogramFlag(record_.get(), 1);
        ZELSetOverwritePromptOff(record_.get());
        result = ZELOpenWriteOnlyFile(record_.get(), file_->temporary().c_str());
    });
    if (result != 0) throw Failure(writingReason(file_->temporary(), name_));
}

void Writer::writeLine()
{
    guardedWriting(file_->temporary(), name_, [&] { ZELWriteLine(record_.get()); });
}

void Writer::commit()
{
    ZELType* record = record_.release();
    const std::unique_ptr<ZELType> memory(record);
    guardedWriting(file_->temporary(), name_, [&] { ZELFinishWritingFile(record); });
    file_->commit();
}

}  // namespace zel_tool
