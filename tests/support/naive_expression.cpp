#include "support/naive_expression.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace zel_test {
namespace {

struct Op {
    std::string label, text;
    int operands, level;
};

const std::vector<Op>& operators()
{
    static const std::vector<Op> all = {{"SKIP_PIXEL", "skip_pixel", 0, 0},
                                        {"COMMA", ",", 0, 1},
                                        {"SET_VARIABLE", "=", 2, 2},
                                        {"OR", "||", 2, 3},
                                        {"AND", "&&", 2, 4},
                                        {"NOTEQUAL", "!=", 2, 5},
                                        {"EQUAL", "==", 2, 5},
                                        {"LESSTHANOREQUAL", "<=", 2, 6},
                                        {"GREATERTHANOREQUAL", ">=", 2, 6},
                                        {"GREATERTHAN", ">", 2, 6},
                                        {"LESSTHAN", "<", 2, 6},
                                        {"SUB", "-", 2, 7},
                                        {"ADD", "+", 2, 7},
                                        {"MUL", "*", 2, 8},
                                        {"RATIO", "saferatio", 2, 8},
                                        {"DIV", "/", 2, 8},
                                        {"NEGATIVE", "-", 1, 9},
                                        {"NOT", "!", 1, 9},
                                        {"VAL", "value", 3, 10},
                                        {"SAT", "saturation", 3, 10},
                                        {"HUE", "hue", 3, 10},
                                        {"LENGTH3", "length3", 3, 10},
                                        {"LENGTH2", "length2", 2, 10},
                                        {"ATAN", "atan2", 2, 10},
                                        {"TAN", "tan", 1, 10},
                                        {"COS", "cos", 1, 10},
                                        {"SIN", "sin", 1, 10},
                                        {"D2RAD", "deg2rad", 1, 10},
                                        {"LOG10", "log10", 1, 10},
                                        {"LOG", "log", 1, 10},
                                        {"EXP", "exp", 1, 10},
                                        {"POW", "pow", 2, 10},
                                        {"SQRT", "sqrt", 1, 10}};
    return all;
}

const std::vector<std::string>& variables()
{
    static const std::vector<std::string> all = {
        "class",          "sz",         "solar_zenith", "vz",
        "viewing_zenith", "az",         "azimuth",      "sg",
        "sunglint",       "lat",        "latitude",     "lon",
        "longitude",      "olson_eco",  "igbp_eco",     "percent_water",
        "terrain",        "julian_day", "year"};
    return all;
}

std::string lower(std::string text)
{
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool allDigits(const std::string& text)
{
    return text.find_first_not_of("0123456789") == std::string::npos;
}

long count(const std::string& text, char c)
{
    return std::count(text.begin(), text.end(), c);
}

// The parenthesis that opens the text is closed by its last character.
bool enclosed(const std::string& text)
{
    if (text.size() < 2 || text.front() != '(' || text.back() != ')') return false;
    for (std::size_t length = 1; length < text.size(); ++length) {
        const std::string head = text.substr(0, length);
        if (count(head, '(') <= count(head, ')')) return false;
    }
    return true;
}

bool exponentSign(const std::string& text, std::size_t at)
{
    return at >= 2 && (text[at - 1] == 'e' || text[at - 1] == 'E') && text[at - 2] >= '0' &&
           text[at - 2] <= '9';
}

bool operatorBefore(const std::string& text, std::size_t at)
{
    const std::string span = at == 1 ? text.substr(0, 1) : text.substr(at - 2, 2);
    for (const Op& op : operators())
        if (span.find(op.text) != std::string::npos) return true;
    return false;
}

bool matchesHere(const Op& op, const std::string& text, std::size_t at)
{
    if (text.compare(at, op.text.size(), op.text) != 0) return false;
    if (op.level == 10)
        return at == 0 && text.size() > op.text.size() && text[op.text.size()] == '(';
    if (op.label == "SET_VARIABLE" && at > 0) {
        const char before = text[at - 1];
        return before != '=' && before != '!' && before != '<' && before != '>';
    }
    if (op.label == "SUB") return at != 0 && !operatorBefore(text, at) && !exponentSign(text, at);
    if (op.label == "NEGATIVE") return at == 0 || !exponentSign(text, at);
    return true;
}

// Index of the operator to split at, and its place; -1 when there is none.
int findOperator(const std::string& text, std::size_t& place)
{
    // Of the text from each place on: closing parentheses without their opening ones.
    std::vector<int> depth(text.size());
    for (std::size_t i = text.size(); i-- > 0;)
        depth[i] = (i + 1 < text.size() ? depth[i + 1] : 0) + (text[i] == ')') - (text[i] == '(');
    const std::vector<Op>& all = operators();
    for (int level = 0; level <= 10; ++level) {
        for (long at = static_cast<long>(text.size()) - 1; at >= 0; --at) {
            const auto here = static_cast<std::size_t>(at);
            if (depth[here] != 0) continue;
            for (std::size_t k = 0; k < all.size(); ++k) {
                if (all[k].level != level || !matchesHere(all[k], text, here)) continue;
                place = here;
                return static_cast<int>(k);
            }
            if (level == 2 && text[here] == '=' && here > 0 && text[here - 1] == '=') --at;
        }
    }
    return -1;
}

int operand(const std::string& text, bool target, std::vector<NaiveItem>& items)
{
    items.push_back({"OPER", "skip_pixel", 0, 0});
    NaiveItem& item = items.back();
    const std::string small = lower(text);
    for (std::size_t i = 0; i < variables().size(); ++i) {
        if (small != variables()[i]) continue;
        item = {target ? "LVALUE" : "VAR", "", static_cast<int>(i), 0};
        return 0;
    }
    std::string rest = text;
    if (small.substr(0, 2) == "ch") {
        rest = text.substr(2);
        item = {target ? "CHAN_LVALUE" : "CHAN", "", 0, 0};
        if (allDigits(rest)) {
            item.number = std::atoi(rest.c_str());
            return 0;
        }
    }
    if (lower(rest).substr(0, 8) == "register") {
        item = {target ? "REG_LVALUE" : "REG", "", std::atoi(rest.substr(8).c_str()), 0};
        return 0;
    }
    if (rest.find_first_not_of("0123456789eE-.") != std::string::npos) return 4;
    if (count(rest, 'e') + count(rest, 'E') > 1 || count(rest, '-') > 2 || count(rest, '.') > 1)
        return 4;
    item = {"CON", "", 0, static_cast<float>(std::atof(rest.c_str()))};
    return 0;
}

int parse(std::string text, bool target, std::vector<NaiveItem>& items)
{
    if (text.empty()) return 0;
    if (count(text, '(') > count(text, ')')) return 1;
    if (count(text, '(') < count(text, ')')) return 2;
    while (enclosed(text)) text = text.substr(1, text.size() - 2);
    std::size_t place = 0;
    const int found = findOperator(text, place);
    if (found < 0) return operand(text, target, items);
    const Op& op = operators()[static_cast<std::size_t>(found)];
    const int left = parse(text.substr(0, place), target || op.label == "SET_VARIABLE", items);
    const int right = parse(text.substr(place + op.text.size()), false, items);
    if (left != 0) return left;
    if (right != 0) return right;
    items.push_back({"OPER", op.text, found, 0});
    return 0;
}

int checked(const std::vector<NaiveItem>& items)
{
    int values = 0, assignments = 0;
    for (const NaiveItem& item : items) {
        if (item.kind != "OPER") {
            values += 1;
            continue;
        }
        const Op& op = operators()[static_cast<std::size_t>(item.number)];
        values += (op.label == "COMMA" ? 0 : 1) - op.operands;
        assignments += op.label == "SET_VARIABLE" ? 1 : 0;
    }
    return values != 1 ? 3 : assignments > 1 ? 5 : 0;
}

float logical(bool condition)
{
    return condition ? 1.0f : 0.0f;
}

float hue(float r, float g, float b)
{
    const float most = std::max({r, g, b}), least = std::min({r, g, b});
    if (most == 0.0f || most == least) return -1.0f;
    const float range = most - least;
    const float rc = (most - r) / range, gc = (most - g) / range, bc = (most - b) / range;
    float angle = 4.0f + gc - rc;
    if (g == most) angle = 2.0f + rc - bc;
    if (r == most) angle = bc - gc;
    angle = angle * 60.0f;
    if (angle < 0.0f) angle = angle + 360.0f;
    return angle;
}

float apply(const std::string& label, float a, float b, float c)
{
    const double x = static_cast<double>(a), y = static_cast<double>(b);
    if (label == "OR") return logical(a != 0 || b != 0);
    if (label == "AND") return logical(a != 0 && b != 0);
    if (label == "NOTEQUAL") return logical(a != b);
    if (label == "EQUAL") return logical(a == b);
    if (label == "LESSTHANOREQUAL") return logical(a <= b);
    if (label == "GREATERTHANOREQUAL") return logical(a >= b);
    if (label == "GREATERTHAN") return logical(a > b);
    if (label == "LESSTHAN") return logical(a < b);
    if (label == "SUB") return a - b;
    if (label == "ADD") return a + b;
    if (label == "MUL") return a * b;
    if (label == "RATIO") return a / (b + 1.0f);
    if (label == "DIV") return a / b;
    if (label == "NEGATIVE") return -a;
    if (label == "NOT") return logical(a == 0);
    if (label == "VAL") return std::max({a, b, c});
    if (label == "SAT") {
        const float most = std::max({a, b, c});
        return most == 0.0f ? 0.0f : (most - std::min({a, b, c})) / most;
    }
    if (label == "HUE") return hue(a, b, c);
    if (label == "LENGTH3") return a * a + b * b + c * c;
    if (label == "LENGTH2") return a * a + b * b;
    if (label == "ATAN") return static_cast<float>(std::atan2(x, y));
    if (label == "TAN") return static_cast<float>(std::tan(x));
    if (label == "COS") return static_cast<float>(std::cos(x));
    if (label == "SIN") return static_cast<float>(std::sin(x));
    if (label == "D2RAD") return a * 0.017453293f;
    if (label == "LOG10") return static_cast<float>(std::log10(x));
    if (label == "LOG") return static_cast<float>(std::log(x));
    if (label == "EXP") return static_cast<float>(std::exp(x));
    if (label == "POW") return static_cast<float>(std::pow(x, y));
    return static_cast<float>(std::sqrt(x));
}

// Both names of a field.
void setVariable(NaivePixel& pixel, int index, float value)
{
    static const std::map<int, int> other = {{1, 2}, {2, 1}, {3, 4},  {4, 3},  {5, 6},   {6, 5},
                                             {7, 8}, {8, 7}, {9, 10}, {10, 9}, {11, 12}, {12, 11}};
    pixel.variables[static_cast<std::size_t>(index)] = value;
    const auto twin = other.find(index);
    if (twin != other.end()) pixel.variables[static_cast<std::size_t>(twin->second)] = value;
}

void assign(NaivePixel& pixel, float target, float value)
{
    if (!(std::fabs(target) < 1e6f)) return;
    const int code = static_cast<int>(target);
    if (code >= 500) {
        if (code < 520) pixel.registers[static_cast<std::size_t>(code - 500)] = value;
    } else if (code >= 100) {
        const auto channel = static_cast<std::size_t>(code - 100);
        if (channel < pixel.channels.size()) pixel.channels[channel] = value;
    } else if (code >= 0 && code <= 18) {
        setVariable(pixel, code, value);
    }
}

}  // namespace

NaiveResult naiveCompile(const std::string& text, bool check)
{
    NaiveResult result;
    std::string condensed;
    for (const char c : text)
        if (!std::isspace(static_cast<unsigned char>(c))) condensed += c;
    result.status = condensed.size() > 240 ? 3 : parse(condensed, false, result.items);
    if (result.status == 0 && check) result.status = checked(result.items);
    return result;
}

std::string naiveDump(const std::vector<NaiveItem>& items)
{
    std::string dump;
    for (const NaiveItem& item : items) {
        char line[80];
        if (item.kind == "CON")
            std::snprintf(line, sizeof line, "CON %f\n", static_cast<double>(item.value));
        else if (item.kind == "OPER")
            std::snprintf(line, sizeof line, "OPER %s %s\n",
                          operators()[static_cast<std::size_t>(item.number)].label.c_str(),
                          item.text.c_str());
        else
            std::snprintf(line, sizeof line, "%s %d\n", item.kind.c_str(), item.number);
        dump += line;
    }
    return dump;
}

float naiveEvaluate(const std::vector<NaiveItem>& items, NaivePixel& pixel, std::string& failure)
{
    std::vector<float> stack;
    pixel.skipped = false;
    failure.clear();
    const int channels = static_cast<int>(pixel.channels.size());
    for (const NaiveItem& item : items) {
        const int n = item.number;
        if (item.kind.starts_with("CHAN")) {
            if (n - 1 > channels) failure = "> numChannels";
            if (n < 1) failure = "channel index " + std::to_string(n) + " < 1";
        }
        if (item.kind.starts_with("REG")) {
            if (n > 20) failure = "> ZEL_FEATURE_NUM_REGISTERS";
            if (n < 1) failure = "register index " + std::to_string(n) + " < 1";
        }
        if (!failure.empty()) return 0;
        const auto index = static_cast<std::size_t>(n);
        if (item.kind == "CON") stack.push_back(item.value);
        if (item.kind == "CHAN") stack.push_back(n - 1 == channels ? 0 : pixel.channels[index - 1]);
        if (item.kind == "VAR") stack.push_back(pixel.variables[index]);
        if (item.kind == "REG") stack.push_back(pixel.registers[index - 1]);
        if (item.kind == "LVALUE") stack.push_back(static_cast<float>(n));
        if (item.kind == "CHAN_LVALUE") stack.push_back(static_cast<float>(n + 99));
        if (item.kind == "REG_LVALUE") stack.push_back(static_cast<float>(n + 499));
        if (item.kind != "OPER") continue;
        const Op& op = operators()[index];
        if (op.label == "SKIP_PIXEL") {
            pixel.skipped = true;
            return 0;
        }
        if (op.label == "COMMA") continue;
        float arguments[3] = {0, 0, 0};
        for (int k = op.operands; k-- > 0;) {
            if (stack.empty()) {
                failure = "stack processing error 1";
                return 0;
            }
            arguments[k] = stack.back();
            stack.pop_back();
        }
        if (op.label == "SET_VARIABLE") {
            assign(pixel, arguments[0], arguments[1]);
            stack.push_back(arguments[1]);
        } else {
            stack.push_back(apply(op.label, arguments[0], arguments[1], arguments[2]));
        }
    }
    return stack.empty() ? 0 : stack.front();
}

}  // namespace zel_test
