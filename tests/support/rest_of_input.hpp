// What a question leaves on standard input, inside a runWithInput.
#pragma once

#include <cstdio>
#include <string>

namespace zel_test {

inline std::string restOfInput()
{
    std::string rest;
    for (int c = std::fgetc(stdin); c != EOF; c = std::fgetc(stdin)) rest += static_cast<char>(c);
    return rest;
}

}  // namespace zel_test
