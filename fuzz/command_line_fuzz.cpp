// Runs of the combine tool: the input is its command line, an argument in each line.
//
// A single letter means a word or a file, see words below. All names mean files of a directory
// that holds copies of fuzz/command_line_files and that each run starts with as it was.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "blocks/zel_lut.hpp"
#include "fuzz_support.hpp"
#include "zel_combine/combine.hpp"
#include "zel_combine/command_line.hpp"

namespace {

namespace fs = std::filesystem;
using zel_combine::CommandLineInfo;

const std::map<std::string, std::string> words = {
    {"I", "-i"},           {"O", "-o"},          {"B", "-ib"},
    {"V", "-vorn"},        {"L", "-vorn_label"}, {"P", "-vorn_prepend"},
    {"H", "-vorn_hdr"},    {"F", "-feat_hdr"},   {"T", "-vorn_lut"},
    {"C", "-vorn_lut_cc"}, {"N", "-bc"},         {"M", "-multi_res"},
    {"S", "-same_res"},    {"W", "-overwrite"},  {"a", "coarse"},
    {"b", "fine"},         {"c", "composite"},   {"d", "old_layout"},
    {"e", "cut_short"},    {"r", "raster"},      {"s", "fine_raster"},
    {"l", "lut"},          {"h", "labels"},      {"f", "feature_header"},
    {"m", "empty"},        {"n", "none"},        {"o", "out"}};

bool isOption(const std::string& word)
{
    return word[0] == '-' && std::any_of(words.begin(), words.end(),
                                         [&](const auto& entry) { return entry.second == word; });
}

std::string contentOf(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The directory of the runs, in memory-backed storage.
class Directory {
public:
    Directory() : path_("/dev/shm/zel_fuzz_" + std::to_string(getpid()) + "_files")
    {
        fs::remove_all(path_);
        fs::create_directory(path_);
        for (const auto& entry : fs::directory_iterator(ZEL_FUZZ_DIRECTORY "/command_line_files"))
            files_[entry.path().filename()] = contentOf(entry.path());
        zel_fuzz::require(files_.size() > 1, "the files of the command lines are missing");
        for (const auto& [name, content] : files_) restore(name);
    }
    ~Directory() { fs::remove_all(path_); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    // The file that a name means: none outside of the directory.
    std::string file(std::string name) const
    {
        if (name == "..") name = "dots";
        std::replace(name.begin(), name.end(), '/', '_');
        return path_ + "/" + name;
    }
    bool holds(const char* name) const { return file(fs::path(name).filename()) == name; }

    // Restores all files; returns the names of those that had changed.
    std::vector<std::string> tidy()
    {
        std::vector<std::string> changed;
        for (const auto& entry : fs::directory_iterator(path_))
            if (files_.count(entry.path().filename()) == 0) fs::remove_all(entry.path());
        for (const auto& [name, content] : files_) {
            if (contentOf(file(name)) == content) continue;
            changed.push_back(file(name));
            restore(name);
        }
        return changed;
    }

private:
    void restore(const std::string& name) const
    {
        std::ofstream(file(name), std::ios::binary) << files_.at(name);
    }

    std::string path_;
    std::map<std::string, std::string> files_;
};

// Standard input is empty and output is discarded. Grids of this machine are not used.
Directory& directory()
{
    static Directory theDirectory;
    static const bool prepared = [] {
        FILE* const nowhere = std::fopen("/dev/null", "w");
        zel_fuzz::require(nowhere && std::freopen("/dev/null", "r", stdin), "no /dev/null");
        stdout = stderr = nowhere;
        for (const char* name : {"ZEL_DATA_DIR", "EPA_DATA_DIR", "CC_DATA_DIR"})
            setenv(name, theDirectory.file("none").c_str(), 1);
        return true;
    }();
    static_cast<void>(prepared);
    return theDirectory;
}

std::vector<std::string> argumentsOf(const std::string& input)
{
    constexpr std::size_t most = 60;
    std::vector<std::string> arguments = {"zel_combine"};
    bool isText = false;  // the word before takes a text or a number, which may be anything
    for (std::size_t begin = 0; begin < input.size() && arguments.size() < most;) {
        const std::size_t end = std::min(input.find_first_of({"\n\0", 2}, begin), input.size());
        std::string word = input.substr(begin, end - begin);
        begin = end + 1;
        if (const auto entry = words.find(word); entry != words.end()) word = entry->second;
        if (!isOption(word) && !isText) word = directory().file(word);
        isText = word == "-bc" || word == "-vorn_label" || word == "-vorn_prepend";
        arguments.push_back(word);
    }
    return arguments;
}

// What a process starts with: only its first output gets a LUT block.
void startProcess()
{
    SwapByteOrdering = 0;
    zel::lutBlockWritten() = false;
}

// As main does; -2 when the library ended the run.
int runTool(std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    CommandLineInfo.Argc = static_cast<int>(argv.size());
    CommandLineInfo.Argv = argv.data();
    startProcess();
    int status = -2;
    zel_fuzz::guarded([&] {
        zel_combine::ProcessCommandLine(&CommandLineInfo);
        if (CommandLineInfo.Errors) {
            zel_combine::PrintCommandLineOptions(argv.data());
            status = -1;
            return;
        }
        zel_fuzz::require(directory().holds(CommandLineInfo.OutputFileName), "an output elsewhere");
        status = CommandLineInfo.compositeFlag ? zel_combine::writeComposite(CommandLineInfo)
                                               : zel_combine::writeSameResolution(CommandLineInfo);
    });
    return status;
}

// An existing file changes only as the output of a run that may overwrite and does not read it.
void requireUnharmed(const std::vector<std::string>& changed)
{
    for (const std::string& name : changed) {
        zel_fuzz::require(!CommandLineInfo.Errors, "the usage cost a file");
        zel_fuzz::require(name == CommandLineInfo.OutputFileName, "another file than the output");
        zel_fuzz::require(!CommandLineInfo.overwritePromptFlag, "overwritten without an answer");
        const auto inputs = CommandLineInfo.InputFileName;
        zel_fuzz::require(std::none_of(inputs, inputs + CommandLineInfo.numInputFiles,
                                       [&](const char* input) { return name == input; }),
                          "an input was overwritten");
    }
}

void requireReadable(const char* name)
{
    const auto file = std::make_unique<ZELType>();
    int lines = 0;
    std::string said;
    const bool whole = zel_fuzz::guarded(
        [&] {
            if (ZELOpenReadOnlyFile(file.get(), name) != 0) return;
            while (ZELReadLine(file.get())) ++lines;
            zel_fuzz::require(lines == ZELFetchNumberOfLines(file.get()), "lines are missing");
            ZELFinishReadingFile(file.get());
        },
        said);
    said.insert(0, "the output cannot be read: ");
    zel_fuzz::require(whole && lines > 0, said.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t longest = 4000;
    if (size > longest) return 0;
    Directory& files = directory();
    auto arguments = argumentsOf(std::string(reinterpret_cast<const char*>(data), size));
    const int status = runTool(arguments);
    if (status == 0 && !CommandLineInfo.compositeFlag)
        requireReadable(CommandLineInfo.OutputFileName);
    requireUnharmed(files.tidy());
    return 0;
}
