#include "command/options.hpp"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

CLI::Option* bind(CLI::App& app, const Option& option)
{
    return std::visit(
        [&](auto* target) -> CLI::Option* {
            using Value = std::remove_pointer_t<decltype(target)>;
            if constexpr (std::is_same_v<Value, bool>)
                return app.add_flag(option.names, *target);
            else if constexpr (std::is_same_v<Value, std::vector<double>>)
                return app.add_option(option.names, *target)
                    ->expected(static_cast<int>(split(option.argument, ' ').size()))
                    ->allow_extra_args(false);
            else if constexpr (std::is_same_v<Value, std::vector<std::string>>)
                return app.add_option(option.names, *target)
                    ->expected(1)
                    ->allow_extra_args(false)
                    ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
            else
                return app.add_option(option.names, *target);
        },
        option.target);
}

void bind(CLI::App& app, const Operand& operand)
{
    std::visit(
        [&](auto* target) {
            using Value = std::remove_pointer_t<decltype(target)>;
            if constexpr (!std::is_same_v<Value, bool>) {
                CLI::Option* made = app.add_option(operand.name, *target);
                if (operand.required) made->required();
            }
        },
        operand.target);
}

// Operands after a list take the last words of it: the parser would give all of them to the list.
void giveLastWords(const std::vector<Operand>& operands)
{
    if (operands.empty()) return;
    auto* const* list = std::get_if<std::vector<std::string>*>(&operands.front().target);
    if (!list) return;
    std::vector<std::string>& words = **list;
    for (std::size_t i = operands.size(); i-- > 1;) {
        if (words.empty()) throw Misuse(operands[i].name + " is required");
        *std::get<std::string*>(operands[i].target) = words.back();
        words.pop_back();
    }
}

// The words of the parser, in the voice of the messages here.
std::string reasonOf(const CLI::ParseError& error)
{
    std::string text = error.what();
    if (!text.empty() && text.back() == '.') text.pop_back();
    if (const auto end = text.find('\n'); end != std::string::npos) text.resize(end);
    return text;
}

}  // namespace

Parsed parseOptions(const Command& command, const std::vector<std::string>& words)
{
    CLI::App app;
    app.set_help_flag("-h,--help", "");
    app.allow_windows_style_options(false);
    for (const Option& option : allOptions(command)) {
        CLI::Option* made = bind(app, option);
        if (!option.choices.empty()) made->check(CLI::IsMember(option.choices));
    }
    for (const Operand& operand : command.operands) {
        bind(app, operand);
        if (std::holds_alternative<std::vector<std::string>*>(operand.target)) break;
    }
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return Parsed::helpWanted;
    } catch (const CLI::ParseError& error) {
        throw Misuse(reasonOf(error));
    }
    giveLastWords(command.operands);
    return Parsed::run;
}

}  // namespace zel_tool
