// Memory that cannot be had: each allocation of an open is made to fail in turn.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <utility>

#include "support/file_builder.hpp"
#include "support/outcome.hpp"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEL_TEST_OWN_ALLOCATOR 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || !defined(__GLIBC__)
#define ZEL_TEST_OWN_ALLOCATOR 1
#endif

#ifndef ZEL_TEST_OWN_ALLOCATOR

namespace {
long allocationsUntilFailure = 0;  // 0: none fails
}

extern "C" void* __libc_calloc(size_t count, size_t size);

extern "C" void* calloc(size_t count, size_t size)
{
    if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) return nullptr;
    return __libc_calloc(count, size);
}

namespace {

using zel_test::Outcome;
using zel_test::run;

// How the call ends for each allocation that fails, by message.
std::map<std::string, int> endings(const std::function<void()>& call)
{
    std::map<std::string, int> all;
    for (long n = 1; n < 1000; ++n) {
        Outcome outcome;
        bool failed = false;
        outcome = run([&] {
            allocationsUntilFailure = n;
            call();
        });
        failed = allocationsUntilFailure == 0;
        allocationsUntilFailure = 0;
        if (!failed) return all;
        const std::string out = zel_test::withoutGridNotes(outcome.out);
        const std::size_t last = out.find_last_of('\n', out.size() - 2);
        const std::string message = last == std::string::npos ? out : out.substr(last + 1);
        EXPECT_TRUE(outcome.ended) << n << ": " << message;
        all[message] = outcome.status;
    }
    ADD_FAILURE() << "there is no end of allocations";
    return all;
}

TEST(AllocationFailure, EveryAllocationOfAnOpenEndsTheProcessWithItsMessage)
{
    zel_test::Scene scene = zel_test::smallScene();
    scene.luts = {{1, "lut", {{1, 2, 3, "entry"}}}};
    scene.tables = {{1, "table", {1.0f}}};
    scene.slots[0] = zel_test::channel(1, "scaled bytes", 10.0f, 0.0f);
    scene.slots[0].histogram = zel_test::Histogram{9.0f, 1.0f, {1, 2, 3}};
    scene.slots[1] = zel_test::channel(2, "scaled words", 10.0f, 0.0f);
    zel_test::TempDir dir;
    zel_test::writeFile(dir.path("f"), zel_test::build(scene).bytes);
    auto record = zel_test::junkRecord();
    const int before = zel_test::openDescriptors();
    bool opened = false;
    const auto finish = [&] {
        const long armed = std::exchange(allocationsUntilFailure, 0);
        ZELFinishReadingFile(record.get());
        allocationsUntilFailure = armed;
    };
    const auto all = endings([&] {
        if (opened) run(finish);
        opened = true;
        ZELOpenReadOnlyFile(record.get(), dir.path("f").c_str());
    });
    run(finish);
    EXPECT_EQ(zel_test::openDescriptors(), before);
    const std::map<std::string, int> expected = {
        {"ZELAllocateLUT: cannot allocate LUT\n", -1},
        {"ZELAllocateLUT: cannot allocate LUT entries\n", -1},
        {"ZELAllocateTable: cannot allocate Table\n", -1},
        {"ZELAllocateTable: cannot allocate Table entries\n", -1},
        {"ZELCreateHistogram: error: cannot allocate memory for histogram\n", -1},
        {"ZELCreateHistogram: error: cannot allocate memory for histogram bins\n", -1},
        {"OpenReadOnlyFile: cannot allocate memory for channel 1\n", -3},
        {"OpenReadOnlyFile: cannot allocate memory for channel 2\n", -3},
        {"OpenReadOnlyFile: cannot allocate memory for channel 3\n", -3},
        {"OpenReadOnlyFile: cannot allocate pixel buffer\n", -1},
        {"malloc error: ChannelLUT\n", -1},
        {"OpenReadOnlyFile: cannot allocate latitude buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate longitude buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate solar zenith buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate viewing zenith buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate solar azimuth buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Sunglint buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Olson Ecosystem buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Percent Water buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate IGBP Ecosystem buffer\n", -1},
        {"OpenReadOnlyFile: cannot allocate Terrain buffer\n", -1},
    };
    EXPECT_EQ(all, expected);
}

TEST(AllocationFailure, DetachedLutsAndTables)
{
    const std::map<std::string, int> luts = {{"ZELAllocateLUT: cannot allocate LUT\n", -1},
                                             {"ZELAllocateLUT: cannot allocate LUT entries\n", -1}};
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELAllocateLUT(3)); }), luts);
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELCreateFullStandardLUT()); }), luts);
    EXPECT_EQ(endings([] { ZELDeAllocateLUT(ZELCreateCollapsedStandardLUT()); }), luts);
    const std::map<std::string, int> tables = {
        {"ZELAllocateTable: cannot allocate Table\n", -1},
        {"ZELAllocateTable: cannot allocate Table entries\n", -1}};
    EXPECT_EQ(endings([] { ZELDeAllocateTable(ZELAllocateTable(3)); }), tables);
}

}  // namespace

#endif
