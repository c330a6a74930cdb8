// Which scenes are wanted: rules such as "date=2024-05-01..2024-05-31", which all have to hold.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "archive/scenes/scene_groups.hpp"
#include "scene/box.hpp"

namespace zel_tool {

class Selection {
public:
    // Throws Misuse.
    explicit Selection(const std::vector<std::string>& rules);

    bool takes(const SceneGroup& scene, const std::optional<Box>& box) const;

private:
    struct Days {
        std::string first, last;  // ISO; empty for no limit
    };
    void add(const std::string& key, const std::string& value);
    bool takesDay(const SceneGroup& scene) const;

    std::vector<Days> days_;
    std::vector<int> sensors_;
    std::vector<int> satellites_;
    std::vector<Box> boxes_;
};

}  // namespace zel_tool
