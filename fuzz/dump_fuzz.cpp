// Showing every field of a file, plain or composite: each lies inside the file, in file order, and
// what an open reads can be shown.
#include <cstring>
#include <memory>

#include "feature_support.hpp"

namespace {

struct Seen {
    std::int64_t fileSize;
    std::int64_t end = 0;  // of the field before
    int component = 0;
};

// The lines of an old file may begin before its header ends.
int look(void* data, const ZELDumpField* field)
{
    auto& seen = *static_cast<Seen*>(data);
    const bool isNew =
        field->component != seen.component || std::strncmp(field->record, "line", 4) == 0;
    zel_fuzz::require(field->size >= 0 && field->offset >= 0, "a field has a place");
    zel_fuzz::require(field->offset + field->size <= seen.fileSize, "a field lies inside the file");
    zel_fuzz::require(isNew || field->offset >= seen.end, "fields are in file order");
    zel_fuzz::require(field->record && field->type && field->name && field->value,
                      "a field has texts");
    seen.component = field->component;
    seen.end = field->offset + field->size;
    return 0;
}

bool isOpened(const char* path)
{
    const auto file = std::make_unique<ZELType>();
    bool open = false;
    zel_fuzz::guarded([&] { open = ZELOpenReadOnlyFile(file.get(), path) == 0; });
    if (file->ReadWriteFlag == ZEL_READ_ONLY)
        zel_fuzz::guarded([&] { ZELFinishReadingFile(file.get()); });
    return open;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string content = zel_fuzz::withClassTables(data, size);
    const zel_fuzz::File input("dump", content);
    Seen seen{static_cast<std::int64_t>(content.size())};
    int result = 0;
    const bool returned = zel_fuzz::guarded(
        [&] { result = ZELDumpFile(input.path(), ZEL_DUMP_PIXELS, look, &seen); });
    zel_fuzz::require(returned, "a dump returns");
    const int checked = ZELDumpFile(input.path(), ZEL_DUMP_HEADER, nullptr, nullptr);
    zel_fuzz::require(result == checked, "a check is a dump without fields");
    zel_fuzz::require(result == 0 || !isOpened(input.path()), "what an open reads can be shown");
    return 0;
}
