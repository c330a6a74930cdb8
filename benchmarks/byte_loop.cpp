// What the system charges for the bytes alone: byte_loop OUTPUT BYTES INPUT... reads every byte of
// the inputs and writes as many bytes as given, in turn, with no work between.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr long block = 1 << 20;

long sizeOf(const char* path)
{
    const int file = open(path, O_RDONLY);
    const long size = lseek(file, 0, SEEK_END);
    close(file);
    return size;
}

struct Output {
    int file;
    std::vector<char> bytes = std::vector<char>(block, 1);
    long written = 0;

    void writeUpTo(long wanted)
    {
        while (written < wanted) {
            const auto size = static_cast<std::size_t>(std::min(block, wanted - written));
            const long done = write(file, bytes.data(), size);
            if (done <= 0) std::exit(1);
            written += done;
        }
    }
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 4) return 2;
    Output output{open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0644)};
    const long bytes = std::atol(argv[2]);
    long total = 0;
    for (int i = 3; i < argc; ++i) total += sizeOf(argv[i]);
    std::vector<char> buffer(block);
    long seen = 0;
    for (int i = 3; i < argc; ++i) {
        const int file = open(argv[i], O_RDONLY);
        for (long count; (count = read(file, buffer.data(), buffer.size())) > 0;) {
            seen += count;
            output.writeUpTo(
                static_cast<long>(static_cast<double>(bytes) * static_cast<double>(seen) /
                                  static_cast<double>(total)));
        }
        close(file);
    }
    close(output.file);
    return seen == total && output.written == bytes ? 0 : 1;
}
