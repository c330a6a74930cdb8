#include "archive/recipe/name_template.hpp"

#include <algorithm>
#include <cctype>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr long long mostDigits = 20;

struct Field {
    const char* name;
    const char* key;  // in the manifest
};

constexpr Field fields[] = {{"id", "id"},     {"sensor", "sensor"},   {"satellite", "satellite"},
                            {"year", "year"}, {"day", "day_of_year"}, {"date", "date"},
                            {"hour", "start"}};

bool isNumber(const std::string& name)
{
    return name == "satellite" || name == "year" || name == "day" || name == "hour";
}

std::string fieldNames()
{
    std::vector<std::string> names;
    for (const Field& field : fields) names.emplace_back(field.name);
    return join(names, ", ");
}

const char* keyOfField(const std::string& name)
{
    for (const Field& field : fields)
        if (name == field.name) return field.key;
    throw Misuse("unknown field '" + printable(name) + "'; there are " + fieldNames());
}

// "LANDSAT TM" as part of a file name.
std::string wordOf(std::string text)
{
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        c = std::isalnum(byte) != 0 ? static_cast<char>(std::tolower(byte)) : '-';
    }
    return text;
}

std::string numberText(long long number, int digits)
{
    return format("%0*lld", digits, number);
}

// The hour of "2015-08-04T16:19:14.782Z".
long long hourOf(const std::string& start)
{
    long long hour = 0;
    const auto at = start.find('T');
    if (at == std::string::npos || !parseInteger(start.substr(at + 1, 2), hour))
        throw Failure("no hour in '" + printable(start) + "'");
    return hour;
}

// Nothing is written outside of the root. Names with a dot before them are those of directories in
// which a run works and which it removes.
std::string faultOf(const std::string& name)
{
    const std::vector<std::string> parts = split(name, '/');
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    if (std::any_of(parts.begin(), parts.end(),
                    [](const auto& part) { return part.empty() || part == "." || part == ".."; }))
        return " is no name below the root";
    if (std::any_of(parts.begin(), parts.end(), [](const auto& part) { return part[0] == '.'; }))
        return " has a name that begins with a dot";
    return std::any_of(name.begin(), name.end(), isControl) ? " has a control character" : "";
}

}  // namespace

NameTemplate::NameTemplate(const std::string& text)
{
    std::string sample;
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        const bool twice = at + 1 < text.size() && text[at + 1] == c;
        if ((c == '{' || c == '}') && !twice) {
            const auto end = text.find('}', at);
            if (c == '}' || end == std::string::npos)
                throw Misuse("a brace without its other in '" + printable(text) + "'");
            addField(text.substr(at + 1, end - at - 1));
            sample += "x";
            at = end + 1;
            continue;
        }
        if (pieces_.empty() || pieces_.back().isField) pieces_.push_back({});
        pieces_.back().text += c;
        sample += c;
        at += c == '{' || c == '}' ? 2 : 1;
    }
    const std::string fault = faultOf(sample);
    if (!fault.empty()) throw Misuse("'" + printable(text) + "'" + fault);
}

void NameTemplate::addField(const std::string& field)
{
    const auto colon = field.find(':');
    const std::string name = field.substr(0, colon);
    keyOfField(name);
    Piece piece{name, true};
    if (colon != std::string::npos) {
        long long digits = 0;
        const std::string width = field.substr(colon + 1);
        if (!isNumber(name) || width.size() < 2 || width[0] != '0' ||
            !parseInteger(width, digits) || digits < 1 || digits > mostDigits)
            throw Misuse("'{" + printable(field) +
                         "}': a number may have :0 and how many digits, as in {day:03}");
        piece.digits = static_cast<int>(digits);
    }
    pieces_.push_back(std::move(piece));
}

std::string NameTemplate::of(const Json& scene) const
{
    std::string name;
    for (const Piece& piece : pieces_) {
        if (!piece.isField) {
            name += piece.text;
            continue;
        }
        const auto value = scene.find(keyOfField(piece.text));
        if (value == scene.end() || value->is_null())
            throw Failure("the scene has no " + piece.text);
        if (piece.text == "hour")
            name += numberText(hourOf(value->get<std::string>()), piece.digits);
        else if (isNumber(piece.text))
            name += numberText(value->get<long long>(), piece.digits);
        else if (piece.text == "sensor")
            name += wordOf(value->get<std::string>());
        else
            name += value->get<std::string>();
    }
    const std::string fault = faultOf(name);
    if (!fault.empty()) throw Failure("'" + printable(name) + "'" + fault);
    return name;
}

}  // namespace zel_tool
