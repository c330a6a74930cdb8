// Mask parameter files, and the masks that they give.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"

namespace zel_test {

inline const std::string noFile = "system error code:: No such file or directory\n";

// A mask parameter file, read. "@" stands for a directory with two classifier files: "one" with the
// bytes 1, 2, 3 after its header, and "empty" without any.
class MaskParameters {
public:
    explicit MaskParameters(std::string lines)
    {
        Bytes one = build(fullHeader()).bytes;
        writeFile(dir.path("empty"), one);
        one.insert(one.end(), {1, 2, 3});
        writeFile(dir.path("one"), one);
        for (std::size_t at = lines.find('@'); at != std::string::npos; at = lines.find('@'))
            lines.replace(at, 1, dir.path());
        writeFile(dir.path("m.par"), lines);
        read(dir.path("m.par"));
    }
    ~MaskParameters() { ZELFeatureFreeMaskList(&list); }
    MaskParameters(const MaskParameters&) = delete;
    MaskParameters& operator=(const MaskParameters&) = delete;

    void read(const std::string& path)
    {
        std::memset(&list, 0xA5, sizeof list);
        outcome = runFeature([&] { ZELParseMaskParameterFile(path.c_str(), &list); });
    }
    ZELFeatureMaskType& mask(int n = 0)
    {
        ZELFeatureMaskType* found = list.MaskHead;
        while (found && n-- > 0) found = found->next;
        if (!found) throw std::out_of_range("no such mask");
        return *found;
    }
    ZELMaskParameterType& rules(int n = 0) { return mask(n).MaskParameters; }

    // Ended with that text on standard error, and nothing on standard output.
    testing::AssertionResult failed(const std::string& message) const
    {
        if (!outcome.ended || outcome.status != -1)
            return testing::AssertionFailure() << "no ending with -1: " << outcome.err;
        if (outcome.err != message)
            return testing::AssertionFailure() << outcome.err << "instead of\n" << message;
        if (!outcome.out.empty()) return testing::AssertionFailure() << outcome.out;
        return testing::AssertionSuccess();
    }
    testing::AssertionResult succeeded() const
    {
        if (outcome.ended || !outcome.err.empty())
            return testing::AssertionFailure() << outcome.err;
        return testing::AssertionSuccess();
    }

    TempDir dir;
    ZELFeatureMaskListType list;
    Outcome outcome;
};

// A mask block around lines, of which the first is line 2.
inline std::string block(const std::string& lines)
{
    return "beginmask\n" + lines + "classifiername @/one\nendmask\n";
}

struct Block : MaskParameters {
    explicit Block(const std::string& lines) : MaskParameters(block(lines)) {}
};

}  // namespace zel_test
