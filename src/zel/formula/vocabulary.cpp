#include "formula/vocabulary.hpp"

#include <algorithm>
#include <cctype>
#include <functional>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "scene/names.hpp"

namespace zel_tool {
namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Bytes of other alphabets belong to names.
bool startsName(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalpha(byte) != 0 || c == '_' || byte >= 0x80;
}

bool isInName(char c)
{
    return startsName(c) || isDigit(c);
}

// The end of a number: 2.5e-3 is one.
std::size_t numberEnd(const std::string& text, std::size_t at)
{
    while (at < text.size() && (isDigit(text[at]) || text[at] == '.')) ++at;
    if (at >= text.size() || (text[at] != 'e' && text[at] != 'E')) return at;
    std::size_t end = at + 1;
    if (end < text.size() && text[end] == '-') ++end;
    if (end >= text.size() || !isDigit(text[end])) return at;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end;
}

std::size_t nameEnd(const std::string& text, std::size_t at)
{
    while (at < text.size() && isInName(text[at])) ++at;
    return at;
}

std::size_t afterBlanks(const std::string& text, std::size_t at)
{
    return std::min(text.find_first_not_of(" \t", at), text.size());
}

bool isKeyword(const std::string& name)
{
    static constexpr const char* keywords[] = {"if",    "then", "else",   "endif",
                                               "begin", "end",  "return", "weightclasses"};
    return std::any_of(std::begin(keywords), std::end(keywords),
                       [&](const char* word) { return equalIgnoringCase(word, name); });
}

bool isFunction(const std::string& name)
{
    for (int i = VAL; i < numOperators; ++i)
        if (name == Operators[i].name) return true;
    return false;
}

// A word, a number or one other character, as the text is walked along.
void walk(const std::string& text,
          const std::function<void(const std::string& token, std::size_t end)>& take)
{
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at + 1;
        if (text[at] == '"')
            end = std::min(text.find('"', at + 1), text.size() - 1) + 1;
        else if (startsName(text[at]) || text[at] == '#')
            end = nameEnd(text, at + 1);
        else if (isDigit(text[at]) || text[at] == '.')
            end = numberEnd(text, at);
        take(text.substr(at, end - at), end);
        at = end;
    }
}

bool isQuoted(const std::string& token)
{
    return token.size() > 2 && token[0] == '"' && token.back() == '"';
}

bool isWord(const std::string& token)
{
    return isQuoted(token) || startsName(token[0]) || (token[0] == '#' && token.size() > 1);
}

int slotsInUse(const ZELType& record)
{
    const std::vector<int> slots = presentSlots(record);
    return slots.empty() ? 0 : slots.back() + 1;
}

}  // namespace

Vocabulary::Vocabulary(const ZELType& record, Names names)
    : record_(record), names_(names), firstNew_(slotsInUse(record) + 1)
{
}

bool Vocabulary::isDefined(const std::string& name) const
{
    return std::any_of(definitions_.begin(), definitions_.end(),
                       [&](const auto& definition) { return definition->name == name; });
}

int Vocabulary::madeChannel(const std::string& label) const
{
    const auto found = std::find(made_.begin(), made_.end(), label);
    return found == made_.end() ? 0 : firstNew_ + static_cast<int>(found - made_.begin());
}

int Vocabulary::sceneChannel(const std::string& name) const
{
    return names_ == Names::any ? 1 : findChannel(record_, name) + 1;
}

// Whether the language knows the word shows when it is compiled. A constant is none here: "e" alone
// would be 0.
bool Vocabulary::isOfLanguage(const std::string& name, bool isCalled, Text kind)
{
    if (kind == Text::program && isKeyword(name)) return true;
    if (isCalled && isFunction(name)) return true;
    int status = ZEL_PARSE_OK;
    const Stack stack = compile(name, status, false);
    if (!stack || stack->numStackElements != 1) return false;
    const StackElementStruct& element = *stack->stackHead;
    if (element.type == VAR) variables_.emplace(element.op.int_t, name);
    return element.type == VAR || element.type == REG || element.type == OPER;
}

std::string Vocabulary::tokenOf(const std::string& token, bool isCalled, bool isAssigned, Text kind)
{
    std::string name = unquoted(token);
    if (name == token && (isDefined(name) || isOfLanguage(name, isCalled, kind))) return name;
    if (const int number = madeChannel(name)) return format("Ch%d", number);
    if (isCalled && name == token && slotsNamed(record_, name).empty())
        throw Failure("no function '" + printable(name) + "'");
    const bool isNew =
        kind == Text::program && isAssigned && name[0] != '#' && slotsNamed(record_, name).empty();
    return format("Ch%d", isNew ? newChannel(name) : sceneChannel(name));
}

std::string Vocabulary::translated(const std::string& text, Text kind)
{
    std::string out;
    walk(text, [&](const std::string& token, std::size_t end) {
        if (!isWord(token)) {
            out += token;
            return;
        }
        const std::size_t next = afterBlanks(text, end);
        const char follows = next < text.size() ? text[next] : '\0';
        const bool isAssigned =
            follows == '=' && (next + 1 >= text.size() || text[next + 1] != '=');
        out += tokenOf(token, follows == '(', isAssigned, kind);
    });
    return out;
}

bool Vocabulary::isTarget(const std::string& text)
{
    if (text.empty() || nameEnd(text, 1) != text.size() || !isWord(text)) return false;
    long long number = 0;
    if (text[0] == '#' || (text.size() > 2 && equalIgnoringCase(text.substr(0, 2), "ch") &&
                           parseInteger(text.substr(2), number)))
        return true;
    int status = ZEL_PARSE_OK;
    const Stack stack = compile(text, status, true, definitions());
    if (!stack || stack->numStackElements != 1) return false;
    return stack->stackHead->type == VAR || stack->stackHead->type == REG;
}

int Vocabulary::newChannel(const std::string& label)
{
    if (const int number = madeChannel(label)) return number;
    if (label.size() >= ZEL_CHANNEL_TEXT_SIZE)
        throw Failure(format("a label has at most %d bytes", ZEL_CHANNEL_TEXT_SIZE - 1));
    made_.push_back(label);
    const int number = firstNew_ + static_cast<int>(made_.size()) - 1;
    if (number > ZEL_MAX_CHANNELS)
        throw Failure(format("there are more than %d channels", ZEL_MAX_CHANNELS));
    return number;
}

void Vocabulary::define(const std::string& name, const std::string& text)
{
    if (name.empty() || !startsName(name[0]) || nameEnd(name, 0) != name.size())
        throw Misuse("'" + printable(name) + "' is no name for a definition");
    int status = ZEL_PARSE_OK;
    Stack stack = compile(translated(text, Text::expression), status, true, definitions());
    if (!stack) throw Misuse(format("%s in '%s'", ParseErrorMsgs[status], printable(text).c_str()));
    definitions_.push_back(std::make_unique<Definition>(Definition{name, std::move(stack), {}}));
    Definition& made = *definitions_.back();
    made.entry.Label = made.name.data();
    made.entry.Condition = made.stack.get();
    if (definitions_.size() > 1) definitions_[definitions_.size() - 2]->entry.next = &made.entry;
}

std::string Vocabulary::channelName(int number) const
{
    if (number >= firstNew_ && number - firstNew_ < static_cast<int>(made_.size()))
        return quotedIfNeeded(made_[static_cast<std::size_t>(number - firstNew_)]);
    std::string numbered = format("Ch%d", number);
    if (number < 1 || number > ZEL_MAX_CHANNELS) return numbered;
    const std::string label = labelOf(record_.Channels[number - 1]);
    // A new channel may hide it, and several may have it.
    if (label.empty() || madeChannel(label) != 0 || slotsNamed(record_, label).size() != 1)
        return numbered;
    return quotedIfNeeded(label);
}

std::string Vocabulary::variableName(int index) const
{
    const auto found = variables_.find(index);
    return found == variables_.end() ? format("variable%d", index) : found->second;
}

std::string unquoted(const std::string& text)
{
    return isQuoted(text) ? text.substr(1, text.size() - 2) : text;
}

std::string quotedIfNeeded(const std::string& label)
{
    const bool isPlain = startsName(label[0]) && nameEnd(label, 0) == label.size();
    return isPlain ? label : "\"" + label + "\"";
}

std::string withPlainMinus(const std::string& text)
{
    std::string out;
    walk(text, [&](const std::string& token, std::size_t) {
        const bool isShort = token.size() == 1 && isInName(token[0]);
        const bool endsInExponent = token.size() > 2 && token[token.size() - 2] == '-';
        out += isShort || endsInExponent ? "(" + token + ")" : token;
    });
    return out;
}

}  // namespace zel_tool
