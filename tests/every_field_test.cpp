// Every field of every record set to every boundary of its type and of its documented range, one at a
// time, in every layout and both byte orders: a file is refused with a reason, or its pixels are those
// that its bytes then have.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <ostream>

#include "support/base_files.hpp"
#include "support/field_map.hpp"
#include "support/field_values.hpp"
#include "support/reading.hpp"

namespace {

using zel_test::BaseComposite;
using zel_test::BaseFile;
using zel_test::Bytes;
using zel_test::everyLayout;
using zel_test::FieldKind;
using zel_test::FieldMap;
using zel_test::FileUnderTest;
using zel_test::MappedField;
using zel_test::NaiveScene;
using zel_test::Reading;
using zel_test::readNaively;

struct Layout {
    int version;
    bool bigEndian;
};

void PrintTo(const Layout& layout, std::ostream* out)
{
    *out << "version " << layout.version << (layout.bigEndian ? ", big-endian" : "");
}

std::string nameOf(const testing::TestParamInfo<Layout>& test)
{
    return "V" + std::to_string(test.param.version) + (test.param.bigEndian ? "BigEndian" : "");
}

std::vector<Layout> layouts()
{
    std::vector<Layout> all;
    for (const int version : everyLayout)
        for (const bool bigEndian : {false, true})
            if (zel_test::isReadable(version, bigEndian)) all.push_back({version, bigEndian});
    return all;
}

// Each byte of a file is one of a field, padding in front of the lines excepted.
void expectTiled(const FieldMap& map, std::size_t begin, std::size_t padding)
{
    std::size_t place = begin;
    for (const MappedField& field : map.fields) {
        if (place == map.linesBegin) place += padding;
        ASSERT_EQ(field.offset, place) << field.fullName();
        place += field.size;
    }
    EXPECT_EQ(place, map.end);
}

// A file, and what became of it when its fields were changed.
class Boundaries {
public:
    explicit Boundaries(const Bytes& file) : bytes_(file), whole_(readNaively(file)), onDisk_(file)
    {
        const Reading reading = onDisk_.read();
        EXPECT_TRUE(isRight(reading, whole_, whole_, onDisk_.path()));
        EXPECT_EQ(whole_.refusal, "");
        EXPECT_GT(reading.readLines, 1);
    }
    ~Boundaries()
    {
        std::cout << "[  cases   ] " << cases_ << " fields and values, " << refused_
                  << " of them refused\n";
    }
    Boundaries(const Boundaries&) = delete;
    Boundaries& operator=(const Boundaries&) = delete;

    void tryField(const MappedField& field)
    {
        for (const Bytes& value : boundaryValues(bytes_, field)) tryValue(field, value);
    }

    void tryValue(const MappedField& field, const Bytes& value)
    {
        const auto place = bytes_.begin() + static_cast<long>(field.offset);
        const Bytes before(place, place + static_cast<long>(field.size));
        std::copy(value.begin(), value.end(), place);
        onDisk_.write(field.offset, value);
        const Reading reading = onDisk_.read();
        ++cases_;
        refused_ += reading.result != 0 || reading.ended ? 1 : 0;
        EXPECT_TRUE(isRight(reading, readNaively(bytes_), whole_, onDisk_.path()))
            << field.fullName() << " at " << field.offset << " = " << zel_test::hex(value);
        std::copy(before.begin(), before.end(), place);
        onDisk_.write(field.offset, before);
    }

    int cases() const { return cases_; }

private:
    Bytes bytes_;
    NaiveScene whole_;
    FileUnderTest onDisk_;
    int cases_ = 0;
    int refused_ = 0;
};

class EveryField : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryField, testing::ValuesIn(layouts()), nameOf);

TEST_P(EveryField, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::baseFile(layout.version, layout.bigEndian);
    const FieldMap map =
        zel_test::mapFields(file.bytes, 0, file.bytes.size(), layout.bigEndian, file.padding);
    expectTiled(map, 0, file.padding);
    EXPECT_EQ(map.end, file.bytes.size());
    Boundaries boundaries(file.bytes);
    const int descriptors = zel_test::openDescriptors();
    for (const MappedField& field : map.fields) boundaries.tryField(field);
    EXPECT_GT(boundaries.cases(), 1000);
    EXPECT_EQ(zel_test::openDescriptors(), descriptors);
}

// Entries of a directory that are as unused as those beside them. The fields of a plain file are tried
// with all of them.
bool isUnusedEntry(const MappedField& field)
{
    if (field.record != "prefix" || !field.name.ends_with("]")) return false;
    const int entry = std::stoi(field.name.substr(field.name.find('[') + 1));
    return entry > 3 && entry < 98;
}

class EveryCompositeField : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Bases, EveryCompositeField, testing::Values(0, 1));

TEST_P(EveryCompositeField, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const BaseComposite file = zel_test::baseComposite(GetParam());
    FieldMap map = zel_test::mapFields(file.bytes, 0, file.second, false);
    expectTiled(map, 0, 0);
    EXPECT_EQ(map.end, file.second);
    const FieldMap second = zel_test::mapFields(file.bytes, file.second, file.bytes.size(), false);
    expectTiled(second, file.second, 0);
    EXPECT_EQ(second.end, file.bytes.size());
    map.fields.insert(map.fields.end(), second.fields.begin(), second.fields.end());
    Boundaries boundaries(file.bytes);
    for (const MappedField& field : map.fields)
        if (!isUnusedEntry(field)) boundaries.tryField(field);
    EXPECT_GT(boundaries.cases(), 5000);
}

TEST(EveryLayout, ABigEndianFileOfTheOneVersionThatMakesSenseEitherWayIsRefused)
{
    const BaseFile file = zel_test::baseFile(211, true);
    FileUnderTest onDisk(file.bytes);
    const Reading reading = onDisk.read();
    EXPECT_EQ(reading.result, -2);
    EXPECT_NE(reading.messages.find(": invalid MaxNumChan 0 at offset 10\n"), std::string::npos)
        << reading.messages;
}

// ---- Masks ----

bool isOfMask(const MappedField& field, const FieldMap& map)
{
    const auto named = [](const char* name) {
        return [name](const MappedField& f) { return f.name == name; };
    };
    const auto begin =
        std::find_if(map.fields.begin(), map.fields.end(), named("length of mask identifier"));
    const auto end = std::find_if(begin, map.fields.end(), [&](const MappedField& f) {
        return f.record != begin->record || f.name == "channel NumTables" ||
               f.name == "histogram presence";
    });
    // The number of classifiers is the field before the identifier.
    return field.offset >= (begin - 1)->offset &&
           (end == map.fields.end() || field.offset < end->offset);
}

bool isOfClassTable(const MappedField& field)
{
    return field.name.starts_with("class counts[") || field.name == "class name" ||
           field.name == "length of class name" || field.name == "class red" ||
           field.name == "class green" || field.name == "class blue";
}

class EveryMaskField : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryMaskField,
                         testing::Values(Layout{141, true}, Layout{142, false}, Layout{230, false},
                                         Layout{230, true}),
                         nameOf);

// Of the thousand classes of a header the first and the last of each field stand for all.
TEST_P(EveryMaskField, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::maskedBaseFile(layout.version, layout.bigEndian);
    const FieldMap map =
        zel_test::mapFields(file.bytes, 0, file.bytes.size(), layout.bigEndian, file.padding);
    expectTiled(map, 0, file.padding);
    Boundaries boundaries(file.bytes);
    int inTables = 0;
    for (const MappedField& field : map.fields) {
        if (!isOfMask(field, map)) continue;
        inTables = isOfClassTable(field) ? inTables + 1 : 0;
        if (inTables < 8 || (inTables > 990 && inTables < 1010) || inTables > 5990)
            boundaries.tryField(field);
    }
    EXPECT_GT(boundaries.cases(), 1000);
}

}  // namespace
