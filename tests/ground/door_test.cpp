// The one way out: endings with and without a handler, and progress.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "ground/zel_door.hpp"
#include "support/file_builder.hpp"
#include "support/outcome.hpp"

namespace {

// A call that the library ends.
void misuse()
{
    ZELSetMessageSink([](void*, FILE*, const char*) {}, nullptr);
    ZELAllocateLUT(-1);
}

TEST(Door, AnEndingEndsTheProcessWithItsStatus)
{
    EXPECT_EXIT(misuse(), testing::ExitedWithCode(255), "");
}

TEST(Door, AnExitHandlerIsCalledWithTheStatusAndMayLeave)
{
    const auto leave = [](void* userData, int status) {
        std::_Exit(status == -1 ? *static_cast<int*>(userData) : 1);
    };
    int code = 42;
    EXPECT_EXIT(
        {
            ZELSetExitHandler(leave, &code);
            misuse();
        },
        testing::ExitedWithCode(42), "");
}

TEST(Door, AnExitHandlerThatReturnsLetsTheProcessEnd)
{
    EXPECT_EXIT(
        {
            ZELSetExitHandler([](void*, int) { std::fputs("told", stderr); }, nullptr);
            misuse();
        },
        testing::ExitedWithCode(255), "^told$");
}

TEST(Door, WithoutAHandlerAgainItIsNotCalled)
{
    EXPECT_EXIT(
        {
            ZELSetExitHandler([](void*, int) { std::_Exit(7); }, nullptr);
            ZELSetExitHandler(nullptr, nullptr);
            misuse();
        },
        testing::ExitedWithCode(255), "");
}

TEST(Door, AGuardedCallIsNotAnEnding)
{
    bool called = false;
    ZELSetExitHandler([](void* userData, int) { *static_cast<bool*>(userData) = true; }, &called);
    const zel_test::Outcome outcome = zel_test::run([] { ZELAllocateLUT(-1); });
    ZELSetExitHandler(nullptr, nullptr);
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_FALSE(called);
}

struct Progress {
    std::string units;
    double done = 0, total = 0;
    int calls = 0;
};

void note(void* userData, const char* unit, double done, double total)
{
    Progress& progress = *static_cast<Progress*>(userData);
    EXPECT_GT(done, progress.done) << "it grows";
    progress = {unit, done, total, progress.calls + 1};
}

TEST(Door, AMessageOfAnyLengthIsWhole)
{
    for (const std::size_t length : {1022, 1023, 1024, 5000}) {
        const std::string text(length, 'x');
        EXPECT_EQ(zel_test::run([&] { zel::report("%s", text.c_str()); }).out, text);
    }
}

TEST(Door, ProgressOfAContainerIsReportedInBytes)
{
    const zel_test::TempDir dir;
    const zel_test::Bytes bytes = build(zel_test::smallScene()).bytes;
    const std::string names[] = {dir.path("a"), dir.path("b")};
    for (const std::string& name : names) zel_test::writeFile(name, bytes);
    const char* inputs[] = {names[0].c_str(), names[1].c_str()};
    Progress progress;
    const auto create = [&] {
        zel_test::run([&] {
            EXPECT_EQ(ZELCreateCompositeFile(inputs, 2, 0, 0, dir.path("out").c_str(), 0), 0);
        });
    };
    ZELSetProgressSink(note, &progress);
    create();
    ZELSetProgressSink(nullptr, nullptr);
    EXPECT_EQ(progress.units, "bytes");
    EXPECT_EQ(progress.calls, 2);
    EXPECT_EQ(progress.done, 2.0 * static_cast<double>(bytes.size()));
    EXPECT_EQ(progress.total, progress.done);
    create();
    EXPECT_EQ(progress.calls, 2) << "the sink was removed";
}

// A call that is counted and that the library ends.
void countedMisuse(void* calls)
{
    ++*static_cast<int*>(calls);
    ZELAllocateLUT(-1);
}

TEST(DeferredCall, SpeaksAndEndsWhenItIsDelivered)
{
    int calls = 0;
    ZELDeferredType* deferred = nullptr;
    const auto before = zel_test::run([&] { deferred = ZELDefer(countedMisuse, &calls); });
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(before.ended);
    EXPECT_EQ(before.out + before.err, "");
    const auto after = zel_test::run([&] { ZELDeliver(deferred); });
    EXPECT_TRUE(after.ended);
    EXPECT_EQ(after.status, -1);
    const auto direct = zel_test::run([&] { countedMisuse(&calls); });
    EXPECT_EQ(after.out, direct.out);
    EXPECT_NE(after.out, "");
}

TEST(DeferredCall, ThatReturnsDeliversNothing)
{
    ZELDeferredType* deferred = ZELDefer([](void*) {}, nullptr);
    const auto outcome = zel_test::run([&] { ZELDeliver(deferred); });
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST(DeferredCall, ForWhichMemoryFailsEndsTheProcess)
{
    const auto outcome = zel_test::run([] { ZELDeliver(nullptr); });
    EXPECT_TRUE(outcome.ended);
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "ZELDefer: cannot allocate memory\n");
}

TEST(DeferredCall, MayBeDiscarded)
{
    int calls = 0;
    const auto outcome = zel_test::run([&] {
        ZELDiscard(ZELDefer(countedMisuse, &calls));
        ZELDiscard(nullptr);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ(outcome.out, "");
}

TEST(DeferredCall, OfAnotherThreadLeavesTheMessagesOfThisOneAlone)
{
    int calls = 0;
    ZELDeferredType* deferred = nullptr;
    const auto outcome = zel_test::run([&] {
        std::thread([&] { deferred = ZELDefer(countedMisuse, &calls); }).join();
        ZELAllocateLUT(-1);
    });
    EXPECT_TRUE(outcome.ended);
    const auto delivered = zel_test::run([&] { ZELDeliver(deferred); });
    EXPECT_EQ(delivered.out, outcome.out);
}

}  // namespace
