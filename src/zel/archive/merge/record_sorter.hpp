// Records of equal length in the order of their bytes, in bounded memory.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel_tool {

// A file that is sorted through cannot be made, written or read.
struct SortFailure {
    int error;  // of the system
};

class RecordSorter {
public:
    // What does not fit into so many bytes of memory goes through files in the directory of a file,
    // which have no names.
    RecordSorter(std::size_t length, std::size_t memory, const std::string& beside);

    // Throws SortFailure when it cannot be kept.
    void add(std::string_view record);

    // All of them, the least first; nothing may be added after it. Throws SortFailure.
    void forEach(const std::function<void(std::string_view)>& take);

private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };
    using Stream = std::unique_ptr<FILE, Close>;

    std::vector<const char*> sorted() const;
    void spill();
    bool next(FILE* run, std::string& record) const;

    std::size_t length_, most_;
    std::string beside_;
    std::vector<char> held_;
    std::vector<Stream> runs_;
};

}  // namespace zel_tool
