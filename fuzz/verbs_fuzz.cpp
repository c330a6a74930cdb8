// The verbs of the command zel that read, on any file: an answer or a message, JSON that is JSON, an image
// or a page that is whole.
#include "verbs_support.hpp"

namespace {

using zel_fuzz::Answer;
using zel_fuzz::ask;
using zel_fuzz::requireAnswer;
using zel_fuzz::requireJson;

// What look writes is there no longer when it writes again.
void requireWhole(const Answer& answer, const zel_fuzz::File& output, const char* begin,
                  const char* end)
{
    zel_fuzz::requireWhole(answer, output, begin, end);
    std::remove(output.path());
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
