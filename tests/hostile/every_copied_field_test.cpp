// Files with a field at a boundary of its range, copied line by line: what opens has its pixels in
// the copy, whatever the numbers around them say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "blocks/zel_lut.hpp"
#include "support/base_files.hpp"
#include "support/field_map.hpp"
#include "support/field_values.hpp"
#include "support/reading.hpp"

namespace {

using zel_test::BaseFile;
using zel_test::Bytes;
using zel_test::FieldMap;
using zel_test::MappedField;
using zel_test::NaiveScene;
using zel_test::Outcome;
using zel_test::readNaively;
using zel_test::run;

class Copier {
public:
    // Copies the file; what became of it is in outcome.
    Bytes copy(const std::string& from)
    {
        // A file that is emptied and written again goes to the disk at once; a new one has time.
        std::remove(path_.c_str());
        // Else only the first file of a process would have its LUTs.
        zel::lutBlockWritten() = false;
        std::memset(static_cast<void*>(out_.get()), 0, sizeof(ZELType));
        int result = -1;
        outcome = run([&] {
            result = ZELOpenReadOnlyFile(in_.get(), from.c_str());
            if (result != 0) return;
            ZELCopyFileHeaders(out_.get(), in_.get());
            ZELSetOverwritePromptOff(out_.get());
            ZELSetHistogramFlag(out_.get(), 1);
            if (ZELOpenWriteOnlyFile(out_.get(), path_.c_str()) != 0) return;
            while (ZELReadLine(in_.get())) {
                ZELCopyLine(out_.get(), in_.get());
                ZELWriteLine(out_.get());
            }
        });
        if (result != -1) run([&] { ZELFinishReadingFile(in_.get()); });
        if (out_->ReadWriteFlag == ZEL_WRITE_ONLY) run([&] { ZELFinishWritingFile(out_.get()); });
        return result == 0 && !outcome.ended ? zel_test::readFile(path_) : Bytes{};
    }

    Outcome outcome;

private:
    zel_test::TempDir dir_;
    std::string path_ = dir_.path("copy.zel");
    std::unique_ptr<ZELType> in_ = zel_test::junkRecord();
    std::unique_ptr<ZELType> out_ = zel_test::zeroRecord();
};

// The same lines and pixels, in the layout that is written.
testing::AssertionResult isCopy(const Bytes& copy, const NaiveScene& original)
{
    const NaiveScene read = readNaively(copy);
    if (!read.refusal.empty()) return testing::AssertionFailure() << "refused: " << read.refusal;
    if (read.version != 230) return testing::AssertionFailure() << "version " << read.version;
    if (read.lines != original.lines)
        return testing::AssertionFailure() << read.lines << " of " << original.lines << " lines";
    if (read.channels.size() != original.channels.size())
        return testing::AssertionFailure() << "channels";
    if (!zel_test::sameValues(read.values, original.values))
        return testing::AssertionFailure() << "pixels";
    return testing::AssertionSuccess();
}

class EveryCopiedField : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Versions, EveryCopiedField, testing::Values(111, 142, 230));

TEST_P(EveryCopiedField, AtEveryBoundaryLeavesTheCopyItsPixels)
{
    const BaseFile file = zel_test::baseFile(GetParam(), false);
    const FieldMap map = zel_test::mapFields(file.bytes, 0, file.bytes.size(), false, file.padding);
    Bytes bytes = file.bytes;
    zel_test::FileUnderTest onDisk(bytes);
    Copier copier;
    int cases = 0;
    for (const MappedField& field : map.fields) {
        if (field.record == "prefix" && field.name.ends_with("]")) continue;
        const auto place = bytes.begin() + static_cast<long>(field.offset);
        const Bytes before(place, place + static_cast<long>(field.size));
        for (const Bytes& value : boundaryValues(file.bytes, field)) {
            std::copy(value.begin(), value.end(), place);
            const NaiveScene original = readNaively(bytes);
            if (!original.refusal.empty()) continue;
            onDisk.write(field.offset, value);
            const Bytes copy = copier.copy(onDisk.path());
            ++cases;
            EXPECT_FALSE(copier.outcome.ended) << copier.outcome.out << copier.outcome.err;
            EXPECT_TRUE(isCopy(copy, original))
                << field.fullName() << " at " << field.offset << " = " << zel_test::hex(value);
        }
        std::copy(before.begin(), before.end(), place);
        onDisk.write(field.offset, before);
    }
    std::cout << "[  cases   ] " << cases << " fields and values copied\n";
    EXPECT_GT(cases, 1500);
}

}  // namespace
