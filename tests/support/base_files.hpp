// Small valid files with every record of their layout, to be damaged field by field or byte by
// byte.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "support/file_builder.hpp"

namespace zel_test {

// Layout versions times 100: the first and the last of each layout.
inline constexpr int everyLayout[] = {100, 101, 110, 111, 120, 121, 130, 131, 132, 140, 141,
                                      142, 150, 151, 200, 201, 210, 211, 220, 221, 230};

// With its bytes reversed, 2.11 is 0.03, which also lies between 0.01 and 2.30: such a file is not
// recognised as being of the other byte order.
inline bool isReadable(int version, bool bigEndian)
{
    return version != 211 || !bigEndian;
}

struct BaseFile {
    Bytes bytes;
    std::size_t padding = 0;  // between the last channel record and the first line
};

// Channels of every storage code, LUTs, tables, histograms, metadata, navigation points and three
// lines. A big-endian file has no prefix, since none with one can be read.
BaseFile baseFile(int version, bool bigEndian);

// The same with lines longer than the buffer of a stream.
BaseFile wideBaseFile(int version, bool bigEndian);

// The first with a mask in a channel; from version 1.41 on.
BaseFile maskedBaseFile(int version, bool bigEndian);

// The first at that resolution, in metres; from version 1.11 on.
BaseFile baseFileOf(int version, float resolution);

// Two components of 1000 and of 500 metres; base is the index of the one whose grid counts.
struct BaseComposite {
    Bytes bytes;
    std::size_t second = 0;  // where the second component begins
};
BaseComposite baseComposite(int base);
BaseComposite wideBaseComposite(int base);
BaseComposite maskedBaseComposite();

// A layout in a byte order: the parameter of a test.
struct Layout {
    int version;
    bool bigEndian;
};

inline void PrintTo(const Layout& layout, std::ostream* out)
{
    *out << "version " << layout.version << (layout.bigEndian ? ", big-endian" : "");
}

inline std::string nameOf(const testing::TestParamInfo<Layout>& test)
{
    return "V" + std::to_string(test.param.version) + (test.param.bigEndian ? "BigEndian" : "");
}

inline std::vector<Layout> layouts()
{
    std::vector<Layout> all;
    for (const int version : everyLayout)
        for (const bool bigEndian : {false, true})
            if (isReadable(version, bigEndian)) all.push_back({version, bigEndian});
    return all;
}

}  // namespace zel_test
