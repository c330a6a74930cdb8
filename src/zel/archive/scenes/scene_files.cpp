#include "archive/scenes/scene_files.hpp"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <set>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {
namespace {

using Identity = std::pair<dev_t, ino_t>;

// Names in a directory, sorted.
std::vector<std::string> namesIn(const std::string& directory)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) throw Failure(std::strerror(errno));
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(stream.get()))
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    if (errno != 0) throw Failure(std::strerror(errno));
    std::sort(names.begin(), names.end());
    return names;
}

class Walk {
public:
    // Links wait until everything that is there without them has been seen.
    void start(const std::string& path) { visit(path, true); }

    std::vector<NamedFile> finish()
    {
        for (; !links_.empty(); links_.pop_front()) visit(links_.front(), false);
        std::vector<NamedFile> files = std::move(failed_);
        for (auto& [identity, file] : files_) files.push_back(std::move(file));
        std::sort(files.begin(), files.end(),
                  [](const NamedFile& a, const NamedFile& b) { return a.path < b.path; });
        return files;
    }

private:
    void visit(const std::string& path, bool isNamed)
    {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) {
            if (isNamed || hasNameOfScene(path))
                failed_.push_back({path, true, std::strerror(errno)});
            return;
        }
        const Identity identity{status.st_dev, status.st_ino};
        if (S_ISDIR(status.st_mode)) {
            if (directories_.insert(identity).second) enter(path);
        } else if (isNamed || S_ISREG(status.st_mode)) {
            const auto [place, isNew] = files_.try_emplace(identity, NamedFile{path, isNamed, ""});
            place->second.isNamed = place->second.isNamed || isNamed;
        }
    }

    void enter(const std::string& directory)
    {
        try {
            for (const std::string& name : namesIn(directory)) {
                std::string path = directory;
                if (!path.ends_with('/')) path += '/';
                path += name;
                struct stat status {};
                if (lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
                    links_.push_back(path);
                else
                    visit(path, false);
            }
        } catch (const Failure& failure) {
            failed_.push_back({directory, true, failure.what()});
        }
    }

    std::set<Identity> directories_;
    std::map<Identity, NamedFile> files_;
    std::deque<std::string> links_;
    std::vector<NamedFile> failed_;
};

std::vector<std::string> namesFromInput(char separator)
{
    const std::string all{std::istreambuf_iterator<char>(std::cin), {}};
    std::vector<std::string> names = split(all, separator);
    std::erase_if(names, [](const std::string& name) { return name.empty(); });
    return names;
}

}  // namespace

bool hasNameOfScene(const std::string& path)
{
    const std::string_view ending = ".zel";
    return path.size() > ending.size() &&
           equalIgnoringCase(std::string_view(path).substr(path.size() - ending.size()), ending);
}

std::vector<NamedFile> filesNamed(const std::vector<std::string>& operands, char separator)
{
    std::set<std::string> paths;
    for (const std::string& operand : operands) {
        if (operand.empty()) throw Misuse("a file name is empty");
        if (operand == "-")
            for (const std::string& name : namesFromInput(separator)) paths.insert(name);
        else
            paths.insert(operand);
    }
    Walk walk;
    for (std::string path : paths) {
        while (path.size() > 1 && path.ends_with('/')) path.pop_back();
        walk.start(path);
    }
    return walk.finish();
}

}  // namespace zel_tool
