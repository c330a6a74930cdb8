// Random expressions, right and wrong ones, and random values.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>

namespace zel_test {

// Equal to the bit; one "not a number" is like another.
inline bool same(float a, float b)
{
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }
    bool oneIn(int n) { return below(n) == 0; }
    template <std::size_t N>
    std::string of(const char* const (&choices)[N])
    {
        return choices[below(static_cast<int>(N))];
    }
    // Values that comparisons and functions tell apart, with an odd one now and then.
    float value()
    {
        static const float odd[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e30f, -1e30f, 1e-30f, 2.0f};
        if (oneIn(8)) return odd[below(8)];
        return static_cast<float>(below(20001) - 10000) / 64.0f;
    }
    // Any value, including infinities and NaNs.
    float anyFloat() { return std::bit_cast<float>(static_cast<std::uint32_t>(engine_())); }

private:
    std::mt19937 engine_;
};

// Right and wrong texts with few parentheses.
class Texts {
public:
    explicit Texts(unsigned seed) : random_(seed) {}

    std::string next()
    {
        std::string text = expression(random_.below(4));
        if (random_.oneIn(10)) text = target() + "=" + text;
        if (random_.oneIn(12)) damage(text);
        return text;
    }

    // Without what usually fails, for the evaluator of a line: assignments anywhere.
    std::string nextSound() { return sound(1 + random_.below(4)); }

private:
    std::string operand()
    {
        static const char* const operands[] = {
            "1",    "2",         "5",         "0.5",       "3.25",       "1e2",
            "1e-2", "2.5E-3",    "Ch1",       "Ch2",       "ch3",        "CH4",
            "Ch5",  "Ch6",       "register1", "register2", "sz",         "vz",
            "az",   "class",     "lat",       "LON",       "year",       "terrain",
            "e1",   "REGISTER3", "olson_eco", "sunglint",  "julian_day", "Solar_Zenith",
            "7",    "9"};
        static const char* const odd[] = {"Ch7",   "Ch0", "foo",      "register21",
                                          "1.2.3", "Ch",  "Chx",      "Ch1.5",
                                          "()",    "",    "register", "skip_pixel"};
        return random_.oneIn(25) ? random_.of(odd) : random_.of(operands);
    }
    std::string target()
    {
        static const char* const targets[] = {"Ch1",   "Ch3", "Ch6", "register1", "register2",
                                              "class", "sz",  "lat", "year",      "3",
                                              "101",   "502", "77",  "(sz)"};
        return random_.of(targets);
    }
    std::string infix()
    {
        static const char* const all[] = {"||", "&&", "!=", "==", "<=", ">=", ">",
                                          "<",  "-",  "-",  "+",  "*",  "/",  " saferatio "};
        static const char* const odd[] = {",", "=", "!", "--", "===", "*-", " "};
        return random_.oneIn(15) ? random_.of(odd) : random_.of(all);
    }
    std::string call(int depth)
    {
        static const char* const one[] = {"tan",   "cos", "sin", "deg2rad",
                                          "log10", "log", "exp", "sqrt"};
        static const char* const two[] = {"length2", "atan2", "pow"};
        static const char* const three[] = {"value", "saturation", "hue", "length3"};
        const int arguments = 1 + random_.below(3);
        std::string text = (arguments == 1   ? random_.of(one)
                            : arguments == 2 ? random_.of(two)
                                             : random_.of(three)) +
                           "(";
        for (int i = 0; i < arguments; ++i)
            text.append(i > 0 ? "," : "").append(expression(depth - 1));
        if (random_.oneIn(25)) text += ",1";
        return text + ")";
    }
    std::string expression(int depth)
    {
        if (depth <= 0) return operand();
        switch (random_.below(8)) {
        case 0:
            return operand();
        case 1:
            return std::string("(") + expression(depth - 1) + ")";
        case 2:
            return call(depth);
        case 3:
            return std::string(random_.oneIn(2) ? "-" : "!") + expression(depth - 1);
        default:
            return expression(depth - 1) + infix() + expression(depth - 1);
        }
    }
    void damage(std::string& text)
    {
        static const char* const bits[] = {"(", ")", "-", "=", "e", "!", ".", " \t", "x"};
        text.insert(static_cast<std::size_t>(random_.below(static_cast<int>(text.size()) + 1)),
                    random_.of(bits));
    }

    std::string sound(int depth)
    {
        static const char* const operands[] = {
            "2",  "0.5", "Ch1",   "Ch2",  "Ch3",       "Ch4",       "Ch6",    "sz",
            "vz", "lat", "class", "year", "register1", "register2", "terrain"};
        static const char* const infixes[] = {"+", "-", "*", "/", "<", ">=", "==", "&&", "||", ","};
        if (depth <= 0) return random_.of(operands);
        switch (random_.below(9)) {
        case 0:
            return random_.of(operands);
        case 1:
            return call2(depth);
        case 2:
            return std::string("(") + target() + "=" + sound(depth - 1) + ")";
        case 3:
            return std::string("(-") + sound(0) + ")";
        case 4:
            return random_.oneIn(6) ? "(skip_pixel)" : std::string("(!") + sound(0) + ")";
        default:
            return std::string("(") + sound(depth - 1) + ")" + random_.of(infixes) + "(" +
                   sound(depth - 1) + ")";
        }
    }
    std::string call2(int depth)
    {
        static const char* const one[] = {"tan",   "cos", "sin", "deg2rad",
                                          "log10", "log", "exp", "sqrt"};
        static const char* const two[] = {"length2", "atan2", "pow"};
        static const char* const three[] = {"value", "saturation", "hue", "length3"};
        const std::string a = sound(depth - 1);
        switch (random_.below(3)) {
        case 0:
            return random_.of(one) + "(" + a + ")";
        case 1:
            return random_.of(two) + "(" + a + "," + sound(depth - 1) + ")";
        default:
            return random_.of(three) + "(" + a + "," + sound(0) + "," + sound(0) + ")";
        }
    }

    Random random_;
};

}  // namespace zel_test
