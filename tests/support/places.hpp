// Where the tests find files that they did not make.
#pragma once

#include <string>

namespace zel_test {

// A file of the source tree.
std::string sourceFile(const std::string& path);

// The directory of real scenes and tables that ZEL_TEST_DATA names, or "" when there is none.
std::string testData();

}  // namespace zel_test
