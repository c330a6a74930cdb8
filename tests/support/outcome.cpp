#include "support/outcome.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "support/allocation_failure.hpp"

namespace zel_test {

namespace {

// Has memory, whichever allocation of the library is to fail.
void collect(void* userData, FILE* stream, const char* text)
{
    auto& outcome = *static_cast<Outcome*>(userData);
    const long armed = std::exchange(allocationsUntilFailure, 0);
    (stream == stderr ? outcome.err : outcome.out) += text;
    allocationsUntilFailure = armed;
}

void call(void* userData)
{
    (*static_cast<const std::function<void()>*>(userData))();
}

// Standard input from a file, for the length of a scope.
class RedirectedInput {
public:
    explicit RedirectedInput(const std::string& input) : file_(tmpfile()), saved_(dup(0))
    {
        if (file_ == nullptr || saved_ < 0) throw std::runtime_error("cannot redirect input");
        fwrite(input.data(), 1, input.size(), file_);
        fflush(file_);
        rewind(file_);
        fflush(stdin);
        dup2(fileno(file_), 0);
        clearerr(stdin);
    }
    ~RedirectedInput()
    {
        fflush(stdin);
        dup2(saved_, 0);
        close(saved_);
        clearerr(stdin);
        fclose(file_);
    }

private:
    FILE* file_;
    int saved_;
};

}  // namespace

Outcome run(const std::function<void()>& function)
{
    static Outcome* collecting = nullptr;  // of the run around this one
    Outcome outcome;
    Outcome* const outer = std::exchange(collecting, &outcome);
    ZELSetMessageSink(collect, &outcome);
    outcome.ended =
        ZELGuardedCall(call, const_cast<std::function<void()>*>(&function), &outcome.status) != 0;
    collecting = outer;
    ZELSetMessageSink(outer != nullptr ? collect : nullptr, outer);
    return outcome;
}

Outcome runWithInput(const std::string& input, const std::function<void()>& function)
{
    RedirectedInput redirected(input);
    return run(function);
}

std::string withoutGridNotes(const std::string& text)
{
    std::istringstream lines(text);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        const bool note =
            line.starts_with("cannot open file ") ||
            line.starts_with("ZELReadAncillaryFiles: Ancillary data file ") ||
            line.starts_with("make sure environment variable ZEL_DATA_DIR") ||
            (line.starts_with("or file ") && line.find(" is in directory: ") != std::string::npos);
        if (note) continue;
        // The question about overwriting ends without a newline; a note can follow it.
        const std::size_t question = line.find("? (y/n) cannot open file ");
        if (question != std::string::npos) {
            kept += line.substr(0, line.find("cannot open file ", question));
            continue;
        }
        kept += line;
        if (!lines.eof()) kept += '\n';
    }
    return kept;
}

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "zel_test_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make " + pattern);
    path_ = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(in), {}};
}

Bytes readFile(const std::string& path)
{
    const std::string text = readText(path);
    return {text.begin(), text.end()};
}

void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path);
}

void writeFile(const std::string& path, const Bytes& content)
{
    writeFile(path, std::string(content.begin(), content.end()));
}

std::string contentOf(FILE* stream)
{
    fflush(stream);
    rewind(stream);
    std::string content;
    for (int c = fgetc(stream); c != EOF; c = fgetc(stream)) content += static_cast<char>(c);
    return content;
}

int openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<int>(std::distance(begin(all), end(all)));
}

std::unique_ptr<ZELType> junkRecord()
{
    auto record = std::make_unique<ZELType>();
    std::memset(record.get(), 0xA5, sizeof(ZELType));
    return record;
}

std::unique_ptr<ZELType> zeroRecord()
{
    return std::make_unique<ZELType>();
}

std::unique_ptr<ZELType> writeOnlyRecord(int pixels, int navPoints)
{
    auto record = junkRecord();
    ZELInitNewWriteOnlyFile(record.get(), 5, "a scene", 2001, 123, 7, pixels, navPoints, 0, 1,
                            705.0f, 30.0f);
    return record;
}

OpenedFile::OpenedFile(const Bytes& content) : path_(dir_.path("scene.zel")), record_(junkRecord())
{
    writeFile(path_, content);
    outcome = run([this] { result = ZELOpenReadOnlyFile(record_.get(), path_.c_str()); });
    outcome.out = withoutGridNotes(outcome.out);
}

OpenedFile::~OpenedFile()
{
    if (result != -1) run([this] { ZELFinishReadingFile(record_.get()); });
}

}  // namespace zel_test
