// Every field of every record set to every boundary of its type and of its documented range, one at
// a time, in every layout and both byte orders: a file is refused with a reason, or its pixels are
// those that its bytes then have.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "support/base_files.hpp"
#include "support/field_map.hpp"
#include "support/field_values.hpp"
#include "support/reading.hpp"

namespace {

using zel_test::BaseComposite;
using zel_test::BaseFile;
using zel_test::Bytes;
using zel_test::FieldKind;
using zel_test::FieldMap;
using zel_test::FileUnderTest;
using zel_test::Layout;
using zel_test::layouts;
using zel_test::MappedField;
using zel_test::NaiveScene;
using zel_test::Reading;
using zel_test::readNaively;

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
    // With a first file it is read in a view after that.
    explicit Boundaries(const Bytes& file, const Bytes& first = {})
        : bytes_(file), first_(first), firstOnDisk_(first), onDisk_(file)
    {
        if (!first_.empty()) onDisk_.viewAfter(firstOnDisk_.path());
        whole_ = expected();
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
        EXPECT_TRUE(isRight(reading, expected(), whole_, onDisk_.path()))
            << field.fullName() << " at " << field.offset << " = " << zel_test::hex(value);
        std::copy(before.begin(), before.end(), place);
        onDisk_.write(field.offset, before);
    }

    int cases() const { return cases_; }

private:
    NaiveScene expected() const
    {
        return first_.empty() ? readNaively(bytes_) : zel_test::viewNaively({first_, bytes_});
    }

    Bytes bytes_;
    Bytes first_;
    FileUnderTest firstOnDisk_;
    FileUnderTest onDisk_;
    NaiveScene whole_;
    int cases_ = 0;
    int refused_ = 0;
};

class EveryField : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryField, testing::ValuesIn(layouts()), zel_test::nameOf);

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

// Entries of a directory that are as unused as those beside them. The fields of a plain file are
// tried with all of them.
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

// The numbers of five versions are 0.03 the other way round: no sign of the other byte order.
TEST(EveryLayout, OnlyBigEndianFilesOfVersionsThatMakeSenseEitherWayAreRefused)
{
    for (int version = 100; version <= 230; ++version) {
        const bool either =
            version == 118 || version == 143 || version == 168 || version == 193 || version == 211;
        const Bytes bytes = zel_test::baseFile(version, true).bytes;
        FileUnderTest onDisk(bytes);
        const NaiveScene scene = readNaively(bytes);
        EXPECT_EQ(scene.refusal.empty(), !either) << version;
        const Reading reading = onDisk.read();
        EXPECT_TRUE(isRight(reading, scene, scene, onDisk.path())) << version;
        EXPECT_EQ(reading.result, either ? -2 : 0) << version << ": " << reading.messages;
    }
}

// ---- Masks ----

bool isOfClassTable(const MappedField& field)
{
    return field.name.starts_with("class counts[") || field.name == "class name" ||
           field.name == "length of class name" || field.name == "class red" ||
           field.name == "class green" || field.name == "class blue";
}

// The fields of the first mask. Of the thousand classes of a header the first and the last of each
// field stand for all.
std::vector<MappedField> fieldsOfMask(const FieldMap& map)
{
    auto field = std::find_if(map.fields.begin(), map.fields.end(), [](const MappedField& f) {
        return f.name == "length of mask identifier";
    });
    std::vector<MappedField> all = {*(field - 1)};  // the number of classifiers
    int inTables = 0;
    for (; field->name != "channel NumTables" && field->name != "histogram presence"; ++field) {
        inTables = isOfClassTable(*field) ? inTables + 1 : 0;
        if (inTables < 8 || (inTables > 990 && inTables < 1010) || inTables > 5990)
            all.push_back(*field);
    }
    return all;
}

void tryMaskFields(const Bytes& file, const FieldMap& map)
{
    Boundaries boundaries(file);
    for (const MappedField& field : fieldsOfMask(map)) boundaries.tryField(field);
    EXPECT_GT(boundaries.cases(), 3000);
}

class EveryMaskField : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(Layouts, EveryMaskField,
                         testing::Values(Layout{141, true}, Layout{142, false}, Layout{230, false}),
                         zel_test::nameOf);

TEST_P(EveryMaskField, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const Layout layout = GetParam();
    const BaseFile file = zel_test::maskedBaseFile(layout.version, layout.bigEndian);
    const FieldMap map =
        zel_test::mapFields(file.bytes, 0, file.bytes.size(), layout.bigEndian, file.padding);
    expectTiled(map, 0, file.padding);
    tryMaskFields(file.bytes, map);
}

TEST(EveryMaskFieldOfAComponent, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const BaseComposite file = zel_test::maskedBaseComposite();
    const FieldMap map = zel_test::mapFields(file.bytes, 0, file.second, false);
    expectTiled(map, 0, 0);
    tryMaskFields(file.bytes, map);
}

// ---- Several files in one view ----

class EveryFieldOfAViewedFile : public testing::TestWithParam<float> {};

INSTANTIATE_TEST_SUITE_P(Resolutions, EveryFieldOfAViewedFile,
                         testing::Values(500.0F, 1000.0F, 2000.0F));

TEST_P(EveryFieldOfAViewedFile, AtEveryBoundaryGivesAReasonOrTheRightPixels)
{
    const Bytes first = zel_test::baseFileOf(230, 1000).bytes;
    const BaseFile file = zel_test::baseFileOf(142, GetParam());
    const FieldMap map = zel_test::mapFields(file.bytes, 0, file.bytes.size(), false);
    expectTiled(map, 0, 0);
    Boundaries boundaries(file.bytes, first);
    for (const MappedField& field : map.fields) boundaries.tryField(field);
    EXPECT_GT(boundaries.cases(), 2000);
}

}  // namespace
