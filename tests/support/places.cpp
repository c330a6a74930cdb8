#include "support/places.hpp"

#include <cstdlib>

namespace zel_test {

std::string sourceFile(const std::string& path)
{
    return std::string(ZEL_SOURCE_DIR "/") + path;
}

std::string testData()
{
    const char* directory = std::getenv("ZEL_TEST_DATA");
    return directory ? directory : "";
}

}  // namespace zel_test
