#include "zel_features/files/walk.hpp"

#include <algorithm>
#include <cerrno>
#include <string>

#include "ground/memory.hpp"
#include "ground/text_number.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_expression.h"

namespace zel {

namespace {

[[noreturn]] void throwStringDamage(const char* name, std::int64_t at, std::int32_t length,
                                    int bytesRead)
{
    StringDamage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid length of %s %d", name, length);
    damage.offset = at;
    damage.length = length;
    damage.bytesRead = bytesRead;
    throw damage;
}

}  // namespace

// A stream without places is counted from where it is, and its end is found when it comes.
Extent extentOf(FILE* stream)
{
    const int error = errno;
    const off_t place = ftello(stream);
    if (place >= 0) return {place, lengthOf(stream)};
    errno = error;
    return {0, unknownEnd};
}

FeatureReader::FeatureReader(RecordReader& reader)
    : RecordReader(reader.stream(), 0, reader.position(), reader.end(), Numbers::bigEndian)
{
    showTo(reader.listener());
}

void FeatureReader::setVersion(const char* text)
{
    const double hundredfold = leadingNumber(text) * 100.0;
    const bool isVersion = hundredfold > 0.0 && hundredfold < INT_MAX;
    RecordReader::setVersion(isVersion ? static_cast<int>(hundredfold) : 0);
}

// A number that comes with a field of that name; messages name the field.
std::int32_t FeatureReader::number(const char* what, const char* name)
{
    std::int32_t number = 0;
    take(name, &number, 1);
    if (listener()) show((std::string(what) + name).c_str(), &number, 1);
    return number;
}

std::int32_t FeatureReader::lengthOfString(const char* name)
{
    if (remaining() < static_cast<std::int64_t>(sizeof(std::int32_t))) return 0;
    try {
        return number("length of ", name);
    } catch (const Damage&) {
        if (!endsUnknown()) throw;
        return 0;
    }
}

void FeatureReader::string(const char* name, char*& text)
{
    const std::int64_t at = position();
    const std::int32_t length = lengthOfString(name);
    if (length < 1 || length > remaining()) throwStringDamage(name, at, length, 0);
    Owned<char> content(allocate<char>(static_cast<std::size_t>(length) + 1));
    if (!content) failWithError("ReadString: cannot allocate memory\n");
    requireBytes(name, length);
    const int got = read(content.get(), 1, length);
    if (got != length && endsUnknown()) throwStringDamage(name, at, length, got);
    if (got != length) cutShort(name);
    show(name, content.get(), length);
    release(text);
    text = content.release();
}

void FeatureReader::expression(const char* name, ZELStackStruct*& stack)
{
    char* text = nullptr;
    string(name, text);
    const Owned<char> owned(text);
    int status = ZEL_PARSE_OK;
    stack = parseCondition(text, &status, check_ ? 1 : 0, definitions_);
    if (stack) return;
    errno = 0;  // nothing that the system refused
    printError(message("expression: %s\n", text));
    failWithError("parse error: %s\n", ParseErrorMsgs[status]);
}

int FeatureReader::count(const char* name, int, int minItemSize)
{
    const std::int64_t at = position();
    const std::int32_t items = number("number of ", name);
    bound(name, items, minItemSize, at);
    return items;
}

void FeatureReader::bound(const char* name, int number, int minItemSize, std::int64_t at) const
{
    if (number >= 0 && std::int64_t{minItemSize} * number <= remaining()) return;
    Damage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid number of %s %d", name, number);
    damage.offset = at;
    throw damage;
}

// The fault is in the file or was reported already: an earlier error of the system is not the
// reason.
void failDamaged(const Damage& damage)
{
    errno = 0;
    failWithError("corrupt feature file: %s at offset %lld\n", damage.what,
                  static_cast<long long>(damage.offset));
}

void failDamaged(const StringDamage& damage)
{
    errno = 0;
    printError(message("ReadString error:"));
    failWithError("status = %d, Length = %d\n", damage.bytesRead, damage.length);
}

}  // namespace zel

void WriteString(FILE* fptr, const char* string)
{
    if (!string) string = "";
    const auto length = static_cast<std::int32_t>(std::strlen(string) + 1);
    FileWrite(&length, sizeof length, 1, fptr);
    const auto size = static_cast<std::size_t>(length);
    if (std::fwrite(string, 1, size, fptr) != size) zel::failWithError("WriteString error:");
}

char* ReadString(FILE* fptr)
{
    return zel::readFeatures(fptr, [](zel::FeatureReader& reader) {
        char* text = nullptr;
        reader.string("string", text);
        return text;
    });
}
