#include "records/prefix.hpp"

#include <cerrno>
#include <cstring>

#include "ground/text.hpp"
#include "ground/zel_door.hpp"
#include "ground/zel_io.hpp"
#include "zel_io.h"

namespace zel {
namespace {

// Reads what there is of it: a plain file that is cut short in it is refused when it is opened.
void readPrefix(RecordReader& reader, Directory& directory)
{
    try {
        if (!hasPrefix(reader)) return;
        walkMagic(reader, directory.prefix);
        walkDirectory(reader, directory.prefix);
    } catch (const Damage& damage) {
        Prefix known{};
        copyText(known.version, directory.prefix.version);
        directory.prefix = known;
        directory.isDamaged = true;
        directory.damage = damage;
    }
    directory.headerOffset = reader.position();
}

// False when the kind of file cannot be determined: the start of a composite would pass for a plain
// file.
bool readFrom(FILE* stream, Directory& directory)
{
    try {
        directory.fileSize = lengthOf(stream);
    } catch (const Damage&) {
        return false;
    }
    RecordReader reader(stream, currentVersion, 0, directory.fileSize);
    readPrefix(reader, directory);
    // Only a stream that fails stops short in a file that is long enough.
    if (directory.isDamaged && directory.fileSize >= compositeHeaderOffset) return false;
    directory.isComposite = !directory.isDamaged && directory.prefix.numComponents > 1;
    return !std::ferror(stream) && !std::feof(stream);
}

[[noreturn]] void refuse(const char* what, int value, const char* field, int entry = 0)
{
    Prefix prefix{};
    LayoutSize layout(currentVersion, field, entry);
    walkPrefix(layout, prefix);
    Damage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid %s %d", what, value);
    damage.offset = layout.place();
    throw damage;
}

}  // namespace

bool hasPrefix(RecordReader& reader)
{
    char magic[magicSize + 1] = "";
    const std::int64_t begin = reader.position();
    FieldListener* const listener = reader.listener();
    reader.showTo(nullptr);
    reader.text("magic", magic, magicSize);
    reader.showTo(listener);
    reader.seek(begin);
    return std::strcmp(magic, ZELString) == 0;
}

OpenedFile openDirectory(const char* function, const char* filename, Directory& directory)
{
    CheckByteOrder();
    directory = Directory{};
    OpenedFile stream(openToRead(filename));
    if (!stream) {
        report("%s: cannot open file %s\n", function, filename);
        return nullptr;
    }
    if (readFrom(stream.get(), directory)) return stream;
    report("%s: cannot read file %s: %s\n", function, filename,
           std::feof(stream.get()) ? "unexpected end of file" : std::strerror(errno));
    return nullptr;
}

bool readDirectory(FILE* stream, Directory& directory)
{
    CheckByteOrder();
    directory = Directory{};
    return fseeko(stream, 0, SEEK_SET) == 0 && readFrom(stream, directory);
}

bool readDirectory(const char* filename, Directory& directory)
{
    return openDirectory("ZELReadCompositeInfo", filename, directory) != nullptr;
}

void requireComponents(const Directory& directory, bool usesBase)
{
    const Prefix& p = directory.prefix;
    if (p.numComponents > ZEL_MAX_COMPONENTS)
        refuse("number of components", p.numComponents, "number of components");
    if (usesBase && (p.baseIndex < 0 || p.baseIndex >= p.numComponents))
        refuse("base component index", p.baseIndex, "base component index");
    for (int i = 0; i < p.numComponents; ++i) {
        if (p.offsets[i] < 0 || p.offsets[i] >= directory.fileSize)
            refuse("component offset", p.offsets[i], "component offsets", i);
        if (p.sizes[i] < 0 || p.sizes[i] > directory.fileSize - p.offsets[i])
            refuse("component size", p.sizes[i], "component sizes", i);
    }
}

bool checkDirectory(const char* filename, const Directory& directory, bool usesBase)
{
    try {
        requireComponents(directory, usesBase);
        return true;
    } catch (const Damage& damage) {
        report("OpenReadOnlyFile: corrupt file %s: %s at offset %lld\n", filename, damage.what,
               static_cast<long long>(damage.offset));
        return false;
    }
}

Prefix plainPrefix(float spatialResolution)
{
    Prefix prefix{};
    copyText(prefix.magic, ZELString);
    copyText(prefix.version, ZEL_LIBRARY_VERSION_TEXT);
    prefix.numComponents = 1;
    prefix.resolutions[0] = spatialResolution;
    return prefix;
}

}  // namespace zel
