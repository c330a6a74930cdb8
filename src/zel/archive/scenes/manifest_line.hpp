// A scene in a line of a manifest: what zel scenes writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

// What names of outputs are made of, and the files.
struct SceneOutline {
    Json fields;
    std::vector<std::string> paths;
};

// Whether the JSON of a line is a scene, or a file that could not be read.
bool isScene(const Json& json);
bool isUnread(const Json& json);

SceneOutline outlineOf(Json scene);

// The same from the text of a line, a tenth of the work: its beginning, the paths and the end have
// to be in the form that zel scenes writes, what is between is not looked at. Nothing for a line of
// any other form, which may be a scene all the same. The id alone is half of that.
std::optional<std::string> idSeenIn(std::string_view line);
std::optional<SceneOutline> outlineSeenIn(std::string_view line);

}  // namespace zel_tool
