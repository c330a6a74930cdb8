// A recipe: steps to be run for each scene of an archive.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "archive/recipe/name_template.hpp"
#include "archive/recipe/step_kinds.hpp"
#include "archive/recipe/toml_document.hpp"
#include "base/json.hpp"

namespace zel_tool {

// Which file of a scene an input is: all that is asked has to hold.
struct Role {
    enum class Pick { any, finest, coarsest };

    std::string name;
    Pick pick = Pick::any;
    std::optional<double> resolution;  // of one of its grids, in metres
    std::string channel;               // label, number or slot
    std::string file;                  // pattern for its name without directories
    std::string kind;                  // "file" or "container"
    bool optional = false;
    bool many = false;
};

struct StepValue {
    enum class Is { text, role, made, file, output };
    Is is = Is::text;
    std::string text;
};

struct StepArgument {
    std::string option;  // "--method"; empty for an operand
    bool isFlag = false;
    bool isList = false;    // may lose members
    bool isSpread = false;  // its values follow the option as words of their own
    std::vector<StepValue> values;
};

// A file that a step makes.
struct Made {
    std::string name;
    Form form;
    std::string owner;  // the name that it comes with; empty when it has one of its own
};

struct Step {
    const StepKind* kind = nullptr;
    int number = 1;
    std::vector<StepArgument> arguments;
    std::vector<StepValue> inputs;  // of a file that names scenes
    std::vector<Made> makes;
    TomlNode place;

    std::string title() const;  // "step 2 (calc)"

    // The command line, with what stands for each value that is no plain text.
    template <class PathsOf>
    std::vector<std::string> words(PathsOf pathsOf) const
    {
        std::vector<std::string> list = kind->fixed;
        for (const bool operands : {false, true}) {
            if (operands) list.emplace_back("--");
            for (const StepArgument& argument : arguments)
                if (argument.option.empty() == operands) addWords(argument, pathsOf, list);
        }
        return list;
    }

private:
    template <class PathsOf>
    static void addWords(const StepArgument& argument, PathsOf pathsOf,
                         std::vector<std::string>& list)
    {
        if (argument.isFlag || argument.isSpread) list.push_back(argument.option);
        const bool joined = !argument.option.empty() && !argument.isSpread;
        for (const StepValue& value : argument.values)
            for (const std::string& path : pathsOf(value))
                list.push_back(joined ? argument.option + "=" + path : path);
    }
};

struct RecipeOutput {
    std::string name;
    NameTemplate path;
};

struct RunRecipe {
    std::string file;
    std::vector<Role> roles;
    std::vector<Step> steps;
    std::vector<RecipeOutput> outputs;
    std::map<std::string, std::string> files;  // other files that are read: name and path
    std::string hash;  // of the recipe, of those files, and of the version of the tool

    const Role* findRole(const std::string& name) const;
    const Made* findMade(const std::string& name) const;
};

// Reads and validates it. Throws Misuse with the place of what is wrong.
RunRecipe readRecipe(const std::string& file);

}  // namespace zel_tool
