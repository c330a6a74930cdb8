// A step of a recipe, by the table of options of its verb.
#include <sys/stat.h>

#include <algorithm>

#include "archive/recipe/recipe_reader.hpp"
#include "base/failure.hpp"
#include "base/text.hpp"
#include "command/options.hpp"

namespace zel_tool {
namespace {

using Kind = TomlNode::Kind;

// Names of files are relative to the directory of the recipe.
std::string pathBeside(const std::string& recipe, const std::string& name)
{
    const auto slash = recipe.rfind('/');
    if (name.starts_with('/') || slash == std::string::npos) return name;
    return recipe.substr(0, slash + 1) + name;
}

bool isRegular(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// A number as a word of a command line.
std::string numberWord(const TomlNode& node)
{
    return node.kind == Kind::integer ? std::to_string(node.integer) : shortest(node.number);
}

class StepReader {
public:
    StepReader(RunRecipe& recipe, const TomlNode& node)
        : recipe_(recipe),
          title_(format("step %zu", recipe.steps.size() + 1)),
          table_(recipe.file, node, title_)
    {
    }

    Step read()
    {
        const TomlNode& verb = table_.require("verb", Kind::text);
        step_.kind = findStepKind(verb.text);
        if (!step_.kind) table_.refuse(verb, unknownVerb(verb.text));
        step_.number = static_cast<int>(recipe_.steps.size()) + 1;
        step_.place = table_.node();
        step_.place.members.clear();
        Command command = newCommand(step_.kind->verb);
        table_.requireKeys(keysOf(*step_.kind, command));
        for (const Option& option : optionsOf(*step_.kind, command)) readOption(option);
        for (const Operand& operand : command.operands) readOperand(operand);
        if (step_.kind->hasInputs) readInputs();
        for (const StepKind::Output& output : step_.kind->outputs) readOutput(output);
        if (step_.makes.empty()) table_.refuse(table_.node(), title_ + " has no 'output'");
        check(command);
        return std::move(step_);
    }

private:
    std::string unknownVerb(const std::string& name) const
    {
        std::vector<std::string> names;
        for (const StepKind& kind : stepKinds()) names.push_back(kind.name);
        return "unknown verb '" + printable(name) + "'; there are " + join(names, ", ");
    }

    // The nodes of a list, or of a single value.
    std::vector<const TomlNode*> nodesOf(const TomlNode& node) const
    {
        if (node.kind != Kind::list) return {&node};
        std::vector<const TomlNode*> nodes;
        for (const TomlNode& item : node.items) nodes.push_back(&item);
        return nodes;
    }

    StepValue referenceOf(const TomlNode& node, const std::string& key, bool single)
    {
        requireKind(recipe_.file, node, Kind::text, "'" + key + "'");
        const std::string& name = node.text;
        if (recipe_.findMade(name)) return {StepValue::Is::made, name};
        if (const Role* role = recipe_.findRole(name)) {
            if (single && role->many)
                table_.refuse(
                    node, "'" + key + "' takes one file, and input '" + name + "' may be several");
            return {StepValue::Is::role, name};
        }
        const std::string path = pathBeside(recipe_.file, name);
        if (!isRegular(path))
            table_.refuse(node, "'" + printable(name) +
                                    "' is no input, no output of an earlier step, and no file");
        recipe_.files[name] = path;
        return {StepValue::Is::file, name};
    }

    // The values of an option or operand, as far as their kinds go; the words of numbers, texts and
    // choices are looked at with the whole command line.
    void addValues(StepArgument& argument, const TomlNode& node, const std::string& key,
                   Takes takes, const Target& target)
    {
        argument.isList = std::holds_alternative<std::vector<std::string>*>(target);
        if (!argument.isList && node.kind == Kind::list)
            table_.refuse(node, "'" + key + "' takes one value, not a list");
        for (const TomlNode* item : nodesOf(node)) {
            if (takes == Takes::file) {
                argument.values.push_back(
                    referenceOf(*item, key, !argument.isList || step_.kind->takesOne));
                continue;
            }
            requireKind(recipe_.file, *item, Kind::text, "'" + key + "'");
            argument.values.push_back({StepValue::Is::text, item->text});
        }
    }

    void addNumbers(StepArgument& argument, const TomlNode& node, const std::string& key,
                    const Option& option)
    {
        const bool whole = std::holds_alternative<int*>(option.target);
        argument.isSpread = std::holds_alternative<std::vector<double>*>(option.target);
        const std::size_t count = argument.isSpread ? split(option.argument, ' ').size() : 1;
        const auto nodes = nodesOf(node);
        if (nodes.size() != count || (node.kind == Kind::list) != argument.isSpread)
            table_.refuse(node, "'" + key + "' takes " +
                                    (argument.isSpread ? format("a list of %zu numbers", count)
                                                       : std::string("one number")));
        for (const TomlNode* item : nodes) {
            if (item->kind != Kind::integer && (whole || item->kind != Kind::number))
                requireKind(recipe_.file, *item, whole ? Kind::integer : Kind::number,
                            "'" + key + "'");
            argument.values.push_back({StepValue::Is::text, numberWord(*item)});
        }
    }

    void readOption(const Option& option)
    {
        const std::string key = keyOf(option);
        const TomlNode* node = table_.find(key);
        if (!node) return;
        StepArgument argument;
        argument.option = longName(option);
        if (std::holds_alternative<bool*>(option.target)) {
            requireKind(recipe_.file, *node, Kind::flag, "'" + key + "'");
            argument.isFlag = true;
            if (!node->flag) return;
        } else if (std::holds_alternative<std::string*>(option.target) ||
                   std::holds_alternative<std::vector<std::string>*>(option.target)) {
            addValues(argument, *node, key, option.takes, option.target);
        } else {
            addNumbers(argument, *node, key, option);
        }
        step_.arguments.push_back(std::move(argument));
    }

    void readOperand(const Operand& operand)
    {
        const std::string key = keyOf(operand);
        const TomlNode* node = table_.find(key);
        if (!node && operand.required)
            table_.refuse(table_.node(), title_ + " has no '" + key + "'");
        if (!node) return;
        StepArgument argument;
        addValues(argument, *node, key, operand.takes, operand.target);
        if (step_.kind->takesOne && argument.values.size() != 1)
            table_.refuse(*node, "'" + key + "' takes one file");
        step_.arguments.push_back(std::move(argument));
    }

    void readInputs()
    {
        const TomlNode* node = table_.find("input");
        if (!node) table_.refuse(table_.node(), title_ + " has no 'input'");
        for (const TomlNode* item : nodesOf(*node))
            step_.inputs.push_back(referenceOf(*item, "input", false));
        if (step_.inputs.empty()) table_.refuse(*node, "'input' names no file");
    }

    void addMade(const TomlNode& node, const Made& made)
    {
        const bool isTaken = recipe_.findMade(made.name) || recipe_.findRole(made.name) ||
                             std::any_of(step_.makes.begin(), step_.makes.end(),
                                         [&](const Made& m) { return m.name == made.name; });
        if (isTaken)
            table_.refuse(node, "there is an input or an output '" + made.name + "' already");
        step_.makes.push_back(made);
    }

    void readOutput(const StepKind::Output& output)
    {
        const TomlNode* node = table_.find(output.key);
        if (!node) return;
        requireKind(recipe_.file, *node, Kind::text, "'" + output.key + "'");
        requireName(recipe_.file, *node, node->text);
        addMade(*node, {node->text, output.form, ""});
        if (!output.beside.empty() && !table_.find("header"))
            addMade(*node, {node->text + output.beside, output.form, node->text});
        if (!output.option.empty())
            step_.arguments.push_back(
                {output.option, false, false, false, {{StepValue::Is::output, node->text}}});
    }

    // What stands for a value while there is no scene: an input of several files may hold those of
    // all others.
    std::vector<std::string> sampleOf(const StepValue& value) const
    {
        if (value.is == StepValue::Is::file) return {recipe_.files.at(value.text)};
        std::vector<std::string> names = {value.text};
        if (value.is == StepValue::Is::role && recipe_.findRole(value.text)->many)
            for (const Role& role : recipe_.roles) names.push_back(role.name);
        return names;
    }

    // All that the verb itself can say without a scene.
    void check(Command& command)
    {
        const auto words = step_.words([&](const StepValue& value) { return sampleOf(value); });
        try {
            parseOptions(command, words);
            if (command.check) command.check();
        } catch (const Misuse& misuse) {
            table_.refuse(table_.node(), step_.title() + ": " + misuse.what());
        } catch (const Failure& failure) {
            table_.refuse(table_.node(), step_.title() + ": " + failure.what());
        }
    }

    RunRecipe& recipe_;
    std::string title_;
    RecipeTable table_;
    Step step_;
};

}  // namespace

Step readStep(RunRecipe& recipe, const TomlNode& node)
{
    return StepReader(recipe, node).read();
}

}  // namespace zel_tool
