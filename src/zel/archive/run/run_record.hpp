// What an output of a run says about where it comes from, in itself or in a file beside it.
#pragma once

#include <optional>
#include <string>

#include "archive/run/scene_inputs.hpp"
#include "base/json.hpp"

namespace zel_tool {

// Recipe, scene, inputs with their checksums, version, and the key: one sum of all these.
Json runRecord(const RunRecipe& recipe, const std::string& id, const SceneInputs& inputs);

// The file that holds the record of an output that cannot: "scene.vorn.run.json".
std::string recordBeside(const std::string& output);

// The record in the output itself; nothing where there is none, or where it is no such file.
std::optional<Json> recordInside(const std::string& output, Form form);

// The same, or that beside it.
std::optional<Json> recordFor(const std::string& output, Form form);

// Whether a record has this key.
bool hasKey(const std::optional<Json>& record, const Json& wanted);

}  // namespace zel_tool
