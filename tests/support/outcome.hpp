// How a call into the library ended, what it printed, and the files it worked on.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zel/zel.h"

namespace zel_test {

using Bytes = std::vector<unsigned char>;

struct Outcome {
    bool ended = false;  // the library ended the process (it would have, without the guard)
    int status = 0;      // with that exit status
    std::string out;     // messages for standard output
    std::string err;     // messages for standard error
};

// Runs the function guarded, with a sink that collects the messages; the sink of the run around it,
// or the default one, is back after.
Outcome run(const std::function<void()>& function);

// The same, with standard input taken from the text.
Outcome runWithInput(const std::string& input, const std::function<void()>& function);

// The messages of an open without the lines about ancillary grids that this machine does not have:
// they appear at the first open of a process only.
std::string withoutGridNotes(const std::string& text);

// A directory of its own, removed with all its content at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string path(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

Bytes readFile(const std::string& path);
std::string readText(const std::string& path);
void writeFile(const std::string& path, const Bytes& content);
void writeFile(const std::string& path, const std::string& content);

// Everything in a stream from its start.
std::string contentOf(FILE* stream);

// Streams that this process has open.
int openDescriptors();

// A file record full of junk, as a caller may hand one to an open or an init.
std::unique_ptr<ZELType> junkRecord();

// A file record of zeros.
std::unique_ptr<ZELType> zeroRecord();

// A record with the defaults of a new file to be written, few pixels wide and without navigation.
std::unique_ptr<ZELType> writeOnlyRecord(int pixels = 4, int navPoints = 0);

// A file of the given content, opened for reading; finished and removed at the end.
class OpenedFile {
public:
    explicit OpenedFile(const Bytes& content);
    ~OpenedFile();
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    ZELType* operator->() { return record_.get(); }
    ZELType* get() { return record_.get(); }
    const std::string& path() const { return path_; }

    Outcome outcome;  // of the open, without grid notes
    int result = 0;   // what the open returned

private:
    TempDir dir_;
    std::string path_;
    std::unique_ptr<ZELType> record_;
};

}  // namespace zel_test
