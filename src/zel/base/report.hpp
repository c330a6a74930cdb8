// Where text goes: results to standard output, everything else to standard error.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel_tool {

// A result.
void put(std::string_view text);

// "zel info: gulf.zel: message" on standard error; without a file, "zel info: message".
void complain(const std::string& file, const std::string& message);

// The same with "warning: ", unless the run is quiet.
void warn(const std::string& file, const std::string& message);

// A remark, unless the run is quiet.
void remark(const std::string& message);

// Whether all results reached standard output; complains when not. A reader that has gone away, as
// "head" does, is no reason to complain.
bool finishOutput();

// Runs work for each file; one that fails is reported and does not stop the others. Returns the
// exit status: that of the worst.
int forEachFile(const std::vector<std::string>& files,
                const std::function<int(const std::string&)>& work);

// The exit status of a verb's work; what it throws is reported.
int guardedStatus(const std::function<int()>& work);

}  // namespace zel_tool
