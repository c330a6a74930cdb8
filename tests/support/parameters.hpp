// Feature parameter files and the records that they are read into.
#pragma once

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "support/outcome.hpp"
#include "zel_features/zel_features.h"

namespace zel_test {

// The function run as with run(), with no system error left over from before.
inline Outcome runFeature(const std::function<void()>& function)
{
    return run([&] {
        errno = 0;
        function();
    });
}

// A parameter file of the given text, read; everything is freed and removed at the end.
class Parameters {
public:
    // What a file needs beside the lines that a test is about. "@" stands for the directory.
    static std::string complete(const std::string& lines)
    {
        return lines + "inputfilename @/f.par\noutputfilename @/out.feat\nfeature Ch1:\"first\"\n";
    }

    explicit Parameters(const std::string& text) : record_(std::make_unique<ZELParameterStruct>())
    {
        std::memset(record_.get(), 0xA5, sizeof *record_);
        std::string written = text;
        for (std::size_t at = written.find('@'); at != std::string::npos; at = written.find('@'))
            written.replace(at, 1, dir.path());
        writeFile(dir.path("f.par"), written);
        outcome =
            runFeature([this] { ZELParseParameterFile(dir.path("f.par").c_str(), record_.get()); });
    }
    ~Parameters() { ZELFeatureFreeParameters(record_.get()); }
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;

    ZELParameterStruct* operator->() { return record_.get(); }
    ZELParameterStruct* get() { return record_.get(); }

    TempDir dir;
    Outcome outcome;

private:
    std::unique_ptr<ZELParameterStruct> record_;
};

// A complete file that begins with the given lines.
struct CompleteParameters : Parameters {
    explicit CompleteParameters(const std::string& lines) : Parameters(complete(lines)) {}
};

// The n-th entry of a list, or an empty one.
inline CommandListStruct entry(const CommandStruct& list, int n = 0)
{
    const CommandListStruct* found = list.ListHead;
    while (found && n-- > 0) found = found->next;
    return found ? *found : CommandListStruct{};
}

inline std::string text(const char* characters)
{
    return characters ? characters : "(none)";
}

inline std::string text(const ZELStackStruct* stack)
{
    return stack ? text(stack->expression) : "(none)";
}

// The elements of an expression, kind and operand: "2:1 1:50 0:9".
inline std::string elements(const ZELStackStruct* stack)
{
    std::string all;
    for (const StackElementStruct* e = stack ? stack->stackHead : nullptr; e; e = e->nextElement) {
        const std::string operand = e->type == CON ? std::to_string(static_cast<int>(e->op.float_t))
                                                   : std::to_string(e->op.int_t);
        all += (all.empty() ? "" : " ") + std::to_string(e->type) + ":" + operand;
    }
    return all;
}

}  // namespace zel_test
