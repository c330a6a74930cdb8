// A program around the library opens thousands of files, whole and damaged, and holds no more
// memory and no more streams after them than before.
#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "support/allocation_failure.hpp"
#include "support/base_files.hpp"
#include "support/feature_file.hpp"
#include "support/format_document.hpp"
#include "support/mask_bytes.hpp"
#include "support/mask_text.hpp"
#include "support/parameters.hpp"
#include "support/places.hpp"
#include "support/reading.hpp"
#include "zel_features/zel_features.h"

#ifdef ZEL_TEST_OWN_ALLOCATOR
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

using zel_test::Bytes;
using zel_test::FileUnderTest;
using zel_test::readFile;
using zel_test::run;
using zel_test::runFeature;
using zel_test::TempDir;

constexpr int rounds = 100;
constexpr int firstRounds = 10;  // until what is held for the next time is there

// What a program holds. Where the C library counts the bytes, it counts those too that it keeps for
// the next time.
struct Held {
    long blocks = zel_test::blocksInUse();
    int streams = zel_test::openDescriptors();
#ifdef ZEL_TEST_OWN_ALLOCATOR
    std::size_t bytes = __sanitizer_get_current_allocated_bytes();
    static constexpr std::size_t kept = 0;
#else
    std::size_t bytes = mallinfo2().uordblks;
    static constexpr std::size_t kept = 4096;
#endif
};

struct Corpus {
    std::vector<std::string> scenes, combinations, expressions, masks, parameters, samples;
};

// What the fuzz targets begin with, and what they have found: a directory for each target.
void addCorpus(Corpus& corpus, const std::string& directory)
{
    namespace fs = std::filesystem;
    if (!fs::exists(directory)) return;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        if (!entry.is_regular_file()) continue;
        const std::string path = entry.path().string();
        const std::string target = entry.path().parent_path().filename().string();
        corpus.scenes.push_back(path);
        if (target.starts_with("combine")) corpus.combinations.push_back(path);
        if (target.starts_with("expression")) corpus.expressions.push_back(path);
        if (target.starts_with("mask")) corpus.masks.push_back(path);
        if (target.starts_with("parameter")) corpus.parameters.push_back(path);
        if (target.starts_with("sample")) corpus.samples.push_back(path);
        if (target.starts_with("feature")) corpus.samples.push_back(path);
    }
}

// Every layout whole, and with a field of it wrong and its end missing.
void addBaseFiles(Corpus& corpus, const TempDir& dir)
{
    const auto add = [&](const std::string& name, Bytes bytes) {
        const std::string path = dir.path(name);
        zel_test::writeFile(path, bytes);
        corpus.scenes.push_back(path);
        bytes.resize(bytes.size() - bytes.size() / 8);
        zel_test::writeFile(path + ".cut", bytes);
        corpus.scenes.push_back(path + ".cut");
        std::fill(bytes.end() - static_cast<long>(bytes.size() / 16), bytes.end(),
                  static_cast<unsigned char>(0x7F));
        zel_test::writeFile(path + ".wrong", bytes);
        corpus.scenes.push_back(path + ".wrong");
    };
    for (const int version : zel_test::everyLayout)
        for (const bool bigEndian : {false, true})
            add(std::to_string(version) + (bigEndian ? "b" : "l"),
                zel_test::baseFile(version, bigEndian).bytes);
    add("masked", zel_test::maskedBaseFile(230, false).bytes);
    add("composite", zel_test::baseComposite(1).bytes);
    const std::string mask = dir.path("mask");
    zel_test::writeFile(mask, zel_test::build(zel_test::fullMask()).bytes);
    corpus.masks.push_back(mask);
    Bytes cut = readFile(mask);
    cut.resize(cut.size() - 100);
    zel_test::writeFile(mask + ".cut", cut);
    corpus.masks.push_back(mask + ".cut");
}

void addSamples(Corpus& corpus, const TempDir& dir)
{
    Bytes bytes = zel_test::sampleFile(3, 5);
    for (const char* name : {"samples", "samples.cut", "samples.short"}) {
        corpus.samples.push_back(dir.path(name));
        zel_test::writeFile(corpus.samples.back(), bytes);
        bytes.resize(bytes.size() / 2);
    }
}

void addParameters(Corpus& corpus, const TempDir& dir)
{
    const std::string complete = "inputfilename " + dir.path("230l") + "\noutputfilename " +
                                 dir.path("out.feat") + "\nfeature Ch1:\"first\"\n";
    const std::string texts[] = {complete, "define a:Ch1>2\nfilter a:class=3\n" + complete,
                                 "define a:Ch1>(2\n" + complete, "feature\n", ""};
    int n = 0;
    for (const std::string& text : texts) {
        corpus.parameters.push_back(dir.path("parameters" + std::to_string(n++)));
        zel_test::writeFile(corpus.parameters.back(), text);
    }
}

// ---- What is done with each of them ----

void readScene(const std::string& path, ZELType& record)
{
    int result = -1;
    run([&] {
        result = ZELOpenReadOnlyFile(&record, path.c_str());
        if (result != 0) return;
        static FILE* const nowhere = std::fopen("/dev/null", "w");
        ZELPrintHeaderInfo(&record, nowhere);
        ZELPrintHistograms(&record);
        float *lat = nullptr, *lon = nullptr, *sz = nullptr, *vz = nullptr, *az = nullptr;
        while (ZELReadLine(&record)) {
            ZELFetchNavigation(&record, &lat, &lon);
            ZELFetchSolar(&record, &sz, &vz, &az);
            ZELAncillaryFetchSunglint(&record);
        }
    });
    if (result != -1 || record.ReadWriteFlag == ZEL_READ_ONLY)
        run([&] { ZELFinishReadingFile(&record); });
}

void copyView(const char* const* names, const char* output, ZELType& in, ZELType& out)
{
    std::memset(static_cast<void*>(&in), 0, sizeof in);
    std::memset(static_cast<void*>(&out), 0, sizeof out);
    run([&] {
        if (ZELOpenCompositeReadOnlyFile(&in, names, 2, 0) != 0) return;
        ZELCopyFileHeaders(&out, &in);
        ZELSetOverwritePromptOff(&out);
        ZELSetHistogramFlag(&out, 1);
        if (ZELOpenWriteOnlyFile(&out, output) != 0) return;
        while (ZELReadLine(&in)) {
            ZELCopyLine(&out, &in);
            ZELWriteLine(&out);
        }
    });
    if (in.ReadWriteFlag == ZEL_READ_ONLY) run([&] { ZELFinishReadingFile(&in); });
    if (out.ReadWriteFlag == ZEL_WRITE_ONLY) run([&] { ZELFinishWritingFile(&out); });
}

void combine(const char* const* names, const TempDir& dir, ZELType& in, ZELType& out)
{
    const std::string output = dir.path("combined");
    run([&] { ZELCreateCompositeFile(names, 2, 0, -1, output.c_str(), 0); });
    readScene(output, in);
    std::filesystem::remove(output);
    copyView(names, output.c_str(), in, out);
    std::filesystem::remove(output);
}

// The first four bytes say where the second file begins.
void combineSeed(const std::string& path, const TempDir& dir, ZELType& in, ZELType& out)
{
    const Bytes bytes = readFile(path);
    if (bytes.size() < 4) return;
    std::uint32_t split = 0;
    std::memcpy(&split, bytes.data(), sizeof split);
    const auto middle =
        bytes.begin() + 4 + std::min<long>(split, static_cast<long>(bytes.size()) - 4);
    const std::string first = dir.path("first");
    const std::string second = dir.path("second");
    for (const std::string& file : {first, second}) std::filesystem::remove(file);
    zel_test::writeFile(first, Bytes(bytes.begin() + 4, middle));
    zel_test::writeFile(second, Bytes(middle, bytes.end()));
    const char* names[] = {first.c_str(), second.c_str()};
    combine(names, dir, in, out);
}

void evaluate(const std::string& path)
{
    const std::string text = zel_test::readText(path);
    ZELStackStruct stack{};
    runFeature([&] { ZELParseExpression(text.c_str(), &stack, 1, nullptr); });
    ZELFreeStackElements(&stack);
}

void readMask(const std::string& path)
{
    zel_test::ReadMask mask(readFile(path));
    const zel_test::OwnedMask copy(mask.mask ? ZELFeatureDuplicateMask(mask.mask.get()) : nullptr);
}

void readParameters(const std::string& path)
{
    const auto parameters = std::make_unique<ZELParameterStruct>();
    runFeature([&] { ZELParseParameterFile(path.c_str(), parameters.get()); });
    ZELFeatureFreeParameters(parameters.get());
    ZELFeatureMaskListType list{};
    runFeature([&] { ZELParseMaskParameterFile(path.c_str(), &list); });
    ZELFeatureFreeMaskList(&list);
}

void readSamples(const std::string& path)
{
    zel_test::FeatureFile file;
    if (file.open(path).ended) return;
    runFeature([&] {
        while (ZELFeatureReadSampleFromFile(file.get())) continue;
    });
}

TEST(Embedding, AHundredRoundsOfAllFilesHoldNoMoreMemoryAndStreamsThanTen)
{
    const TempDir dir;
    Corpus corpus;
    addCorpus(corpus, zel_test::sourceFile("fuzz/seeds"));
    addCorpus(corpus, zel_test::sourceFile("fuzz/regressions"));
    EXPECT_GE(corpus.scenes.size(), 20u);
    EXPECT_GE(corpus.combinations.size(), 2u);
    addBaseFiles(corpus, dir);
    addParameters(corpus, dir);
    addSamples(corpus, dir);
    const std::string pair[] = {dir.path("230l"), dir.path("142b")};
    const char* names[] = {pair[0].c_str(), pair[1].c_str()};
    const auto in = zel_test::zeroRecord();
    const auto out = zel_test::zeroRecord();
    Held first;
    for (int round = 1; round <= rounds; ++round) {
        for (const std::string& path : corpus.scenes) readScene(path, *in);
        for (const std::string& path : corpus.combinations) combineSeed(path, dir, *in, *out);
        for (const std::string& path : corpus.expressions) evaluate(path);
        for (const std::string& path : corpus.masks) readMask(path);
        for (const std::string& path : corpus.parameters) readParameters(path);
        for (const std::string& path : corpus.samples) readSamples(path);
        combine(names, dir, *in, *out);
        CheckByteOrder();
        if (round == firstRounds) first = Held();
    }
    const Held last;
    EXPECT_EQ(last.blocks, first.blocks);
    EXPECT_LE(last.bytes, first.bytes + Held::kept);
    EXPECT_EQ(last.streams, first.streams);
    std::cout << "[  cases   ] " << rounds << " rounds of " << corpus.scenes.size() << " scenes, "
              << corpus.combinations.size() + 1 << " pairs, " << corpus.expressions.size()
              << " expressions, " << corpus.samples.size() << " sample files, "
              << corpus.masks.size() << " masks and " << corpus.parameters.size()
              << " parameter files: " << last.bytes << " bytes in " << last.blocks << " blocks\n";
}

}  // namespace
