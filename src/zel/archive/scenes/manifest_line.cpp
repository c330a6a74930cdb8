#include "archive/scenes/manifest_line.hpp"

#include <algorithm>
#include <array>

#include "base/text.hpp"

namespace zel_tool {
namespace {

constexpr std::string_view pathMark = "{\"path\":\"";

enum class Is { text, textOrNull, whole };

struct HeadKey {
    const char* key;
    Is is;
};

// In the order of zel scenes.
constexpr std::array<HeadKey, 8> headKeys = {{{"id", Is::text},
                                              {"sensor", Is::text},
                                              {"sensor_code", Is::whole},
                                              {"satellite", Is::whole},
                                              {"date", Is::textOrNull},
                                              {"year", Is::whole},
                                              {"day_of_year", Is::whole},
                                              {"start", Is::textOrNull}}};

// Parts of a line: text without its quotes, no data for null, and whole numbers.
struct Seen {
    std::array<std::string_view, headKeys.size()> texts;
    std::array<long long, headKeys.size()> numbers;
    std::vector<std::string_view> paths;
};

bool isText(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && member->is_string();
}

bool isTextOrNull(const Json& object, const char* key)
{
    return isText(object, key) || (object.contains(key) && object[key].is_null());
}

bool isWhole(const Json& object, const char* key)
{
    const auto member = object.find(key);
    return member != object.end() && member->is_number_integer();
}

bool isGrid(const Json& grid)
{
    return grid.is_object() && grid.contains("resolution_m") &&
           (grid["resolution_m"].is_number() || grid["resolution_m"].is_null());
}

bool isFile(const Json& file)
{
    return file.is_object() && isText(file, "path") && isWhole(file, "bytes") &&
           isText(file, "checksum") && isText(file, "kind") && file.contains("grids") &&
           file["grids"].is_array() &&
           std::all_of(file["grids"].begin(), file["grids"].end(), isGrid);
}

// Its id becomes part of a file name.
bool isId(std::string_view id)
{
    return !id.empty() && id.size() < 200 && id[0] != '.' &&
           std::none_of(id.begin(), id.end(),
                        [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20; });
}

bool hasHead(const Json& scene)
{
    return isText(scene, "id") && isId(scene["id"].get<std::string>()) && isText(scene, "sensor") &&
           isWhole(scene, "satellite") && isWhole(scene, "year") && isWhole(scene, "day_of_year") &&
           isTextOrNull(scene, "date") && isTextOrNull(scene, "start");
}

bool skip(std::string_view& text, std::string_view wanted)
{
    if (!text.starts_with(wanted)) return false;
    text.remove_prefix(wanted.size());
    return true;
}

bool skipKey(std::string_view& text, std::string_view key)
{
    return skip(text, "\"") && skip(text, key) && skip(text, "\":");
}

// What is up to the mark; the text goes on after it.
std::optional<std::string_view> takeUpTo(std::string_view& text, char mark)
{
    const auto end = text.find(mark);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end + 1);
    return taken;
}

// Text that is in JSON as it is.
bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c >= 0x20 && c < 0x7F && c != '\\'; });
}

// The value of a member with the comma after it.
bool takeValue(std::string_view& line, std::size_t i, Seen& seen)
{
    const Is is = headKeys[i].is;
    if (is == Is::textOrNull && skip(line, "null,")) return true;
    if (is != Is::whole && !skip(line, "\"")) return false;
    const auto value = takeUpTo(line, is == Is::whole ? ',' : '"');
    if (!value) return false;
    seen.texts[i] = *value;
    return is == Is::whole ? parseInteger(*value, seen.numbers[i])
                           : isPlain(*value) && skip(line, ",");
}

// The members before the size.
bool takeHead(std::string_view& line, Seen& seen)
{
    if (!skip(line, "{")) return false;
    for (std::size_t i = 0; i < headKeys.size(); ++i)
        if (!skipKey(line, headKeys[i].key) || !takeValue(line, i, seen)) return false;
    return skip(line, "\"bytes\":") && isId(seen.texts[0]);
}

bool takePaths(std::string_view& line, Seen& seen)
{
    for (auto at = line.find(pathMark); at != std::string_view::npos; at = line.find(pathMark)) {
        line.remove_prefix(at + pathMark.size());
        const auto path = takeUpTo(line, '"');
        if (!path || path->find('\\') != std::string_view::npos) return false;
        seen.paths.push_back(*path);
    }
    return !seen.paths.empty();
}

// A line that was cut ends in another way.
bool endsWhole(std::string_view text)
{
    return text.ends_with(",\"doubts\":[]}") ||
           (text.ends_with("\"}]}") && text.find(",\"doubts\":[{") != std::string_view::npos);
}

std::optional<Seen> seenIn(std::string_view line)
{
    Seen seen{};
    if (!takeHead(line, seen) || !takePaths(line, seen) || !endsWhole(line)) return std::nullopt;
    return seen;
}

}  // namespace

bool isScene(const Json& json)
{
    return json.is_object() && hasHead(json) && json.contains("files") &&
           json["files"].is_array() &&
           std::all_of(json["files"].begin(), json["files"].end(), isFile);
}

bool isUnread(const Json& json)
{
    return json.is_object() && isText(json, "file") && isText(json, "error");
}

SceneOutline outlineOf(Json scene)
{
    SceneOutline outline{Json(), {}};
    for (const Json& file : scene["files"]) outline.paths.push_back(file["path"]);
    outline.fields = std::move(scene);
    return outline;
}

std::optional<std::string> idSeenIn(std::string_view line)
{
    const std::optional<Seen> seen = seenIn(line);
    return seen ? std::optional<std::string>(seen->texts[0]) : std::nullopt;
}

std::optional<SceneOutline> outlineSeenIn(std::string_view line)
{
    const std::optional<Seen> seen = seenIn(line);
    if (!seen) return std::nullopt;
    SceneOutline outline{Json(), {}};
    for (std::size_t i = 0; i < headKeys.size(); ++i) {
        Json& field = outline.fields[headKeys[i].key];
        if (headKeys[i].is == Is::whole)
            field = seen->numbers[i];
        else if (seen->texts[i].data())
            field = seen->texts[i];
    }
    outline.paths.assign(seen->paths.begin(), seen->paths.end());
    return outline;
}

}  // namespace zel_tool
