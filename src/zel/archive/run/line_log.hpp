// Where the lines of a run go, each at once: others may write there, too.
#pragma once

#include <unistd.h>

#include <string>

#include "base/json.hpp"

namespace zel_tool {

class LineLog {
public:
    // Adds to the file; with an empty name, prints. A last line without an end, which was cut when
    // a machine was lost, is removed with a warning: the next one would continue it. Throws Misuse,
    // also for a file that is no run log, which is left as it is.
    explicit LineLog(const std::string& name);
    ~LineLog();
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;

    // Throws Failure.
    void add(const Json& line);

private:
    void requireLog() const;
    void dropCutLine();
    void append(const std::string& text);

    std::string name_;
    int descriptor_ = STDOUT_FILENO;
};

}  // namespace zel_tool
