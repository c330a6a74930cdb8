// What zel merge takes: files of one kind, found out by what is in them.
#pragma once

#include <fstream>
#include <functional>
#include <string>
#include <string_view>

#include "base/json.hpp"

namespace zel_tool {

enum class MergeKind { runLog, statistics, histograms, samples };

// "a run log", for messages.
const char* kindName(MergeKind kind);

// Histograms are those of scenes, or of such that were merged before. An empty file is a run log.
// Throws Failure.
MergeKind kindOf(const std::string& file);

// Begins each message with the file.
class MergeInput {
public:
    // Throws Failure.
    explicit MergeInput(const std::string& file);

    const std::string& file() const { return file_; }

    // The next line, without its end; false after the last one.
    bool nextLine(std::string& line);
    long long lineNumber() const { return lineNumber_; }
    // Whether the line that was read last has no end.
    bool isCut() const { return isCut_; }

    // Every JSON value of the file, one after the other. Throws Failure with the place of the first
    // that is none.
    void forEachValue(const std::function<void(const Json&)>& take);

    [[noreturn]] void fail(const std::string& message) const;
    // The same with the number of the line that was read last.
    [[noreturn]] void failAtLine(const std::string& message) const;

private:
    void requireReadable() const;

    std::string file_;
    std::ifstream stream_;
    long long lineNumber_ = 0;
    bool isCut_ = false;
};

// The value of a key where it is text, else an empty one.
std::string textAt(const Json& object, const char* key);

// Whether a value is of a merged document of that name: each of them begins with {"merged":NAME.
bool isMerged(const Json& value, std::string_view name);

}  // namespace zel_tool
