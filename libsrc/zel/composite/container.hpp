// A container that is being written.
#ifndef ZEL_COMPOSITE_CONTAINER_HPP
#define ZEL_COMPOSITE_CONTAINER_HPP

#include <cstdint>
#include <cstdio>

#include "ground/memory.hpp"
#include "records/prefix.hpp"
#include "zel_types.h"

namespace zel {

// A read, write or seek error ends the process (-1) after a message.
class Container {
public:
    // expected: the bytes that will be copied, for the progress.
    explicit Container(std::int64_t expected);
    ~Container();
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    // Creates the file, after the question when one of that name exists. False after a message.
    bool create(const char* name, int overwritePrompt);

    // The prefix of a first input that is too old to have its own; its length counts into the
    // component that is appended next.
    void writePrefix(float resolution);

    // Copies a plain file, from the stream that it is open on, and enters it.
    void appendPlain(FILE* input, const char* name, std::int64_t fileSize, float resolution);

    // Copies a composite with its own directory reduced to one component. Its entries follow each other
    // from where it begins, whatever its offsets are.
    void appendComposite(const char* name, const Directory& directory);

    // How many components have been entered.
    int components() const { return components_; }

    // Writes the directory and closes the file.
    void finish(int baseIndex);

private:
    std::int64_t copyRest(FILE* input, const char* name, std::int64_t minSize);
    void hideMagic(void* firstBytes);
    void addEntry(std::int64_t offset, float resolution, std::int64_t size);
    void close();

    const char* name_ = "";
    FILE* stream_ = nullptr;
    Prefix directory_{};
    int components_ = 0;
    std::int64_t start_ = 0;       // where the next component begins
    std::int64_t prefixSize_ = 0;  // of a prefix that was written for it
    std::int64_t copied_ = 0;
    std::int64_t expected_;
    bool begun_ = false;
    Owned<unsigned char> block_;
};

}  // namespace zel

#endif
