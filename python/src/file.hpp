// A file that stays open while anyone reads from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace zel_python {

// Reads happen at places, never at a position that threads would share.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    // Whether all bytes are there and were read.
    bool read(std::int64_t place, void* bytes, std::size_t size) const;
    std::int64_t size() const;

private:
    int number_;
};
using Open = std::shared_ptr<const Descriptor>;

// A stream of the C library over an open file, for the library's readers.
class Stream {
public:
    explicit Stream(const Descriptor& file);
    FILE* get() const { return stream_.get(); }

private:
    struct Cookie {
        const Descriptor& file;
        std::int64_t position;
    };
    static ssize_t readFrom(void* cookie, char* buffer, std::size_t size);
    static int seekIn(void* cookie, off64_t* offset, int origin);
    struct Close {
        void operator()(FILE* stream) const { std::fclose(stream); }
    };
    Cookie cookie_;
    std::unique_ptr<FILE, Close> stream_;
};

class File {
public:
    // Throws OSError of Python with the name.
    explicit File(const std::string& name);

    // Whoever reads at this time goes on to the end.
    void close() { open_.reset(); }
    bool isClosed() const { return !open_; }

    // Throws ValueError of Python after close().
    Open open() const;
    const std::string& name() const { return name_; }

private:
    std::string name_;
    Open open_;
};

}  // namespace zel_python
