// Names of outputs with fields of the scene in them: "{year}/{day:03}/{id}.zel".
#pragma once

#include <string>
#include <vector>

#include "base/json.hpp"

namespace zel_tool {

class NameTemplate {
public:
    // Throws Misuse for an unknown field, and for a name that leads out of its directory.
    explicit NameTemplate(const std::string& text);

    // The name for a scene of a manifest. Throws Failure where the scene does not have a field.
    std::string of(const Json& scene) const;

private:
    struct Piece {
        std::string text;  // as it stands; or the name of a field
        bool isField = false;
        int digits = 0;  // of a number, filled with zeros
    };
    void addField(const std::string& field);

    std::vector<Piece> pieces_;
};

}  // namespace zel_tool
