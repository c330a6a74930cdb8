// The names that expressions may use for the channels of a scene: labels, and the numbers of the
// language behind them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "formula/uses.hpp"
#include "zel.h"

namespace zel_tool {

// Where a name that nothing has may stand for a channel that is made: before "=" in a program.
enum class Text { expression, program };

// Whether a name that nothing has is an error, or may be a channel of a scene that is not known
// yet.
enum class Names { ofScene, any };

class Vocabulary {
public:
    explicit Vocabulary(const ZELType& record, Names names = Names::ofScene);

    // The text with labels, "labels" and slots replaced by channel numbers. Throws Failure for a
    // name that is unknown or ambiguous.
    std::string translated(const std::string& text, Text kind);

    // Whether the language itself writes there: class, lat, register1, Ch5 or a name for a
    // register.
    bool isTarget(const std::string& text);

    // The number of the new channel with that label, which is made when there is none yet.
    int newChannel(const std::string& label);
    const std::vector<std::string>& newChannels() const { return made_; }
    int firstNewChannel() const { return firstNew_; }

    // Gives an expression a name. Throws Misuse.
    void define(const std::string& name, const std::string& text);
    const CommandListStruct* definitions() const
    {
        return definitions_.empty() ? nullptr : &definitions_.front()->entry;
    }

    // How people write a channel and a variable of the language.
    std::string channelName(int number) const;
    std::string variableName(int index) const;

private:
    struct Definition {
        std::string name;
        Stack stack;
        CommandListStruct entry;
    };
    std::string tokenOf(const std::string& token, bool isCalled, bool isAssigned, Text kind);
    bool isOfLanguage(const std::string& name, bool isCalled, Text kind);
    bool isDefined(const std::string& name) const;
    int madeChannel(const std::string& label) const;
    int sceneChannel(const std::string& name) const;

    const ZELType& record_;
    Names names_;
    int firstNew_;
    std::vector<std::string> made_;
    std::vector<std::unique_ptr<Definition>> definitions_;
    std::map<int, std::string> variables_;  // names as they were written
};

// A label with blanks and the like stands in quotes.
std::string unquoted(const std::string& text);
std::string quotedIfNeeded(const std::string& label);

// The text of an expression that the language reads as ordinary arithmetic: the rule about a minus
// sign close after another operator does not reach over parentheses.
std::string withPlainMinus(const std::string& text);

}  // namespace zel_tool
