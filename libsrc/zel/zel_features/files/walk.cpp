#include "zel_features/files/walk.hpp"

#include <algorithm>
#include <cerrno>

#include "ground/memory.hpp"
#include "ground/text_number.hpp"
#include "zel_features/language/text.hpp"
#include "zel_features/language/zel_feature_report.hpp"
#include "zel_features/zel_expression.h"

namespace zel {

namespace {

[[noreturn]] void throwStringDamage(const char* name, std::int64_t at, std::int32_t length)
{
    StringDamage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid length of %s %d", name, length);
    damage.offset = at;
    damage.length = length;
    throw damage;
}

}  // namespace

FeatureReader::FeatureReader(FILE* stream) : FeatureReader(stream, lengthOf(stream)) {}

void FeatureReader::setVersion(const char* text)
{
    const double hundredfold = leadingNumber(text) * 100.0;
    version_ = hundredfold > 0.0 && hundredfold < INT_MAX ? static_cast<int>(hundredfold) : 0;
}

void FeatureReader::string(const char* name, char*& text)
{
    const std::int64_t at = position();
    std::int32_t length = 0;
    if (remaining() >= static_cast<std::int64_t>(sizeof length)) field(name, length);
    if (length < 1 || length > remaining()) throwStringDamage(name, at, length);
    Owned<char> content(allocate<char>(static_cast<std::size_t>(length) + 1));
    if (!content) failWithError("ReadString: cannot allocate memory\n");
    array(name, content.get(), length);
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

int FeatureReader::count(const char* name, int, int smallestItem)
{
    std::int32_t number = 0;
    const std::int64_t at = position();
    field(name, number);
    bound(name, number, smallestItem, at);
    return number;
}

void FeatureReader::bound(const char* name, int number, int smallestItem, std::int64_t at) const
{
    if (number >= 0 && std::int64_t{smallestItem} * number <= remaining()) return;
    Damage damage{};
    std::snprintf(damage.what, sizeof damage.what, "invalid number of %s %d", name, number);
    damage.offset = at;
    throw damage;
}

void FeatureReader::place(int& offset)
{
    offset = static_cast<int>(position());
}

std::int64_t FeatureReader::position() const
{
    const off_t position = ftello(stream_);
    if (position < 0) cutShort("the place in the file", position);
    return position;
}

void FeatureReader::cutShort(const char* name, std::int64_t at) const
{
    Damage damage{};
    if (at < 0 || std::ferror(stream_))
        std::snprintf(damage.what, sizeof damage.what, "cannot read %s: %s", name,
                      std::strerror(errno));
    else
        std::snprintf(damage.what, sizeof damage.what, "cut short in %s", name);
    damage.offset = at;
    throw damage;
}

// What is wrong is in the file, or said already: an error of the system from before has no part in it.
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
