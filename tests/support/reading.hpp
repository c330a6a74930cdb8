// A scene file read from its open to its finish with all that a program may ask of it, and whether
// that was as the file's bytes have it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/naive_scene.hpp"
#include "support/outcome.hpp"

namespace zel_test {

struct Reading {
    int result = -9;  // of the open
    bool ended = false;
    std::string messages;  // of the open and the lines
    int pixels = 0, lines = 0, readLines = 0;
    std::vector<float> values;
    std::string reportEnding;  // what ended the reports and the angles, if anything did
};

// Files that change on disk between their readings.
class FileUnderTest {
public:
    explicit FileUnderTest(const Bytes& content);
    ~FileUnderTest();
    FileUnderTest(const FileUnderTest&) = delete;
    FileUnderTest& operator=(const FileUnderTest&) = delete;

    const std::string& path() const { return path_; }
    void write(std::size_t offset, const Bytes& bytes);
    void cut(std::size_t size);

    // Opens, reads every line, prints every report, finishes. The action happens after the open.
    Reading read(const std::function<void()>& action = [] {});

    // From now on it is read as the second file of a view, of which this is the first one.
    void viewAfter(const std::string& first) { first_ = first; }

private:
    int open();

    TempDir dir_;
    std::string path_ = dir_.path("scene.zel");
    std::string first_;
    int descriptor_;
    std::unique_ptr<ZELType> record_ = junkRecord();
};

// Whether a reading is what the bytes allow: an error that says what is wrong, or all their pixels.
// whole is the file before it was damaged: mask texts that are unchanged compile.
testing::AssertionResult isRight(const Reading& reading, const NaiveScene& expected,
                                 const NaiveScene& whole, const std::string& path);

// Whether each pixel is the one expected.
bool sameValues(const std::vector<float>& a, const std::vector<float>& b);

}  // namespace zel_test
