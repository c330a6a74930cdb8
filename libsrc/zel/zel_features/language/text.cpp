#include "zel_features/language/text.hpp"

#include <cstring>

namespace zel {

char* copyString(std::string_view text)
{
    char* copy = allocate<char>(text.size() + 1);
    if (!copy) failWithError("cannot allocate memory for a text\n");
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    return copy;
}

char* copyNullable(const char* text)
{
    return text ? copyString(text) : nullptr;
}

void setString(char*& field, std::string_view text)
{
    char* copy = copyString(text);
    release(field);
    field = copy;
}

void setNullable(char*& field, const char* text)
{
    char* copy = copyNullable(text);
    release(field);
    field = copy;
}

}  // namespace zel
