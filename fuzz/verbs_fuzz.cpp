// The verbs of the command zel that read, on any file: an answer or a message, JSON that is JSON, an image
// or a page that is whole.
#include <cstdlib>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "feature_support.hpp"
#include "zel/failure.hpp"
#include "zel/json.hpp"
#include "zel/library.hpp"
#include "zel/options.hpp"
#include "zel/report.hpp"
#include "zel/settings.hpp"
#include "zel/verbs.hpp"

namespace {

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

Answer ask(zel_tool::Command (*verb)(), const std::string& words)
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
    int status = zel_tool::statusProblem;
    try {
        zel_tool::parseOptions(command, list);
        status = command.run();
    } catch (const zel_tool::Misuse& misuse) {
        zel_fuzz::require(false, misuse.what());
    } catch (const std::bad_alloc&) {
        zel_tool::complain("", "cannot allocate memory");
    }
    return {status, result.text(), said.text()};
}

// A verb that is refused says why; check says it as its result.
void requireAnswer(const Answer& answer, bool isCheck)
{
    zel_fuzz::require(answer.status == 0 || answer.status == 1, "the status is 0 or 1");
    const bool explained = answer.said.starts_with("zel ") || (isCheck && !answer.result.empty());
    zel_fuzz::require(answer.status == 0 || explained, "a refusal has a message");
}

void requireJson(const Answer& answer)
{
    zel_fuzz::require(answer.result.empty() || zel_tool::Json::accept(answer.result),
                      "JSON is JSON");
}

std::string contentOf(const char* path)
{
    std::string content;
    if (FILE* stream = std::fopen(path, "rb")) {
        for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
            content += static_cast<char>(c);
        std::fclose(stream);
    }
    return content;
}

// What look writes begins and ends as it should, or is not there.
void requireWhole(const Answer& answer, const zel_fuzz::File& output, const char* begin,
                  const char* end)
{
    requireAnswer(answer, false);
    const std::string content = contentOf(output.path());
    std::remove(output.path());
    zel_fuzz::require(content.empty() == (answer.status != 0),
                      "an output is there when it was made");
    zel_fuzz::require(content.empty() || (content.starts_with(begin) && content.ends_with(end)),
                      "an output is whole");
}

// Also of what cannot be opened.
void askAboutDamage(const std::string& file)
{
    requireAnswer(ask(zel_tool::checkCommand, file), true);
    requireJson(ask(zel_tool::checkCommand, "--json " + file));
    requireAnswer(ask(zel_tool::dumpCommand, "--pixels --all " + file), false);
}

void askAboutSamples(const std::string& file)
{
    const Answer summary = ask(zel_tool::samplesCommand, file);
    requireAnswer(summary, false);
    if (summary.status != 0) return;
    requireAnswer(ask(zel_tool::samplesCommand, "--csv " + file), false);
    requireJson(ask(zel_tool::samplesCommand, "--json " + file));
}

void askAboutScene(const std::string& file, const zel_fuzz::File& output)
{
    const std::string out = output.path();
    requireAnswer(ask(zel_tool::infoCommand, "--all " + file), false);
    requireAnswer(ask(zel_tool::checkCommand, "--scene " + file), true);
    const Answer pixel = ask(zel_tool::pixelCommand, "--json " + file + " 0 0");
    requireAnswer(pixel, false);
    requireJson(pixel);
    requireAnswer(ask(zel_tool::pixelCommand, file + " --at 50 10"), false);
    requireAnswer(ask(zel_tool::lookCommand, file), false);
    requireWhole(ask(zel_tool::lookCommand, file + " --map heat -q -o " + out), output, "\x89PNG",
                 "IEND\xAE\x42\x60\x82");
    requireWhole(ask(zel_tool::lookCommand, file + " -q --report " + out), output,
                 "<!DOCTYPE html>", "</html>\n");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const zel_fuzz::File input("verbs", zel_fuzz::withClassTables(data, size));
    const zel_fuzz::File output("verbs_output");
    const std::string file = input.path();
    askAboutDamage(file);
    askAboutSamples(file);
    const Answer info = ask(zel_tool::infoCommand, "--json --stats " + file);
    requireAnswer(info, false);
    requireJson(info);
    if (info.status == 0) askAboutScene(file, output);
    return 0;
}
