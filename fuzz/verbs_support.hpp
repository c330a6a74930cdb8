// What the fuzz targets of the command zel share: a verb that runs on words, and what holds of its answer.
#ifndef VERBS_SUPPORT_HPP
#define VERBS_SUPPORT_HPP

#include <cstdlib>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "feature_support.hpp"
#include "zel/base/failure.hpp"
#include "zel/base/json.hpp"
#include "zel/base/report.hpp"
#include "zel/base/settings.hpp"
#include "zel/command/options.hpp"
#include "zel/command/verbs.hpp"
#include "zel/scene/library.hpp"

namespace zel_fuzz {

// A standard stream whose text is kept meanwhile.
class Kept {
public:
    explicit Kept(FILE*& stream) : stream_(stream), before_(stream)
    {
        stream_ = open_memstream(&text_, &size_);
    }
    ~Kept()
    {
        std::fclose(stream_);
        stream_ = before_;
        std::free(text_);
    }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    std::string text() const
    {
        std::fflush(stream_);
        return {text_, size_};
    }

private:
    FILE*& stream_;
    FILE* before_;
    char* text_ = nullptr;
    std::size_t size_ = 0;
};

struct Answer {
    int status;
    std::string result;
    std::string said;
};

inline Answer ask(zel_tool::Command (*verb)(), const std::string& words)
{
    const Kept result(stdout);
    const Kept said(stderr);
    const zel_tool::Command command = verb();
    zel_tool::settings() = {};
    zel_tool::settings().verb = command.name;
    std::vector<std::string> list;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) list.push_back(word);
    zel_tool::takeMessages();
    ZELRearmLUTWriter();  // each run is a process of its own
    int status = zel_tool::statusProblem;
    try {
        zel_tool::parseOptions(command, list);
        status = command.run();
    } catch (const zel_tool::Misuse& misuse) {
        require(false, misuse.what());
    } catch (const zel_tool::Failure& failure) {
        zel_tool::complain("", failure.what());
    } catch (const std::bad_alloc&) {
        zel_tool::complain("", "cannot allocate memory");
    }
    return {status, result.text(), said.text()};
}

// A verb that is refused says why; check says it as its result.
inline void requireAnswer(const Answer& answer, bool isCheck)
{
    require(answer.status == 0 || answer.status == 1, "the status is 0 or 1");
    const bool explained = answer.said.starts_with("zel ") || (isCheck && !answer.result.empty());
    require(answer.status == 0 || explained, "a refusal has a message");
}

inline void requireJson(const Answer& answer)
{
    require(answer.result.empty() || zel_tool::Json::accept(answer.result), "JSON is JSON");
}

inline std::string contentOf(const char* path)
{
    std::string content;
    if (FILE* stream = std::fopen(path, "rb")) {
        for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
            content += static_cast<char>(c);
        std::fclose(stream);
    }
    return content;
}

// What a verb writes is there when it was made, and begins and ends as it should.
inline void requireWhole(const Answer& answer, const File& output, std::string_view begin,
                         std::string_view end)
{
    requireAnswer(answer, false);
    const std::string content = contentOf(output.path());
    require(content.empty() == (answer.status != 0), "an output is there when it was made");
    require(content.empty() || (content.starts_with(begin) && content.ends_with(end)),
            "an output is whole");
}

}  // namespace zel_fuzz

#endif
