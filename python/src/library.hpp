// The library as Python calls it: one call at a time in the process, the interpreter unlocked.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "zel.h"

namespace zel_python {

// A call that failed, in the library's words.
class LibraryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What an error says of several messages: the one that says most, or all of them.
enum class Reasons { best, all };

// Runs a call of the library that returns 0 when it succeeds. The caller holds the interpreter's
// lock, which is released meanwhile: the call must not touch Python. Throws LibraryError; warnings
// of the library become warnings of Python.
void callLibrary(const std::function<int()>& call, Reasons reasons = Reasons::best);

// The same where nothing can be done about a failure.
void callQuietly(const std::function<void()>& call) noexcept;

}  // namespace zel_python
