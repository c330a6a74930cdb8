// The verbs of the command zel that make files, on any scene: a plan that is JSON, and an output that is
// there when the verb says so and begins as it should, or a message.
#include "verbs_support.hpp"

namespace {

using zel_fuzz::Answer;
using zel_fuzz::ask;
using zel_fuzz::requireAnswer;

// A scene as input, and names for what is made.
struct Files {
    zel_fuzz::File scene, output, again;
};

std::string parametersFor(const zel_fuzz::File& scene, const char* more)
{
    return "inputfilename " + std::string(scene.path()) + "\noutputfilename unused\n" + more +
           "define bright: Ch1 > 1\nrequirement lat > -91\nfilter bright: class = 3\n"
           "filter Ch1 == 2: skip_pixel\nfeature Ch1: \"first\"\nfeature sz + year\n";
}

void requireScene(const Answer& answer, const zel_fuzz::File& output)
{
    zel_fuzz::requireWhole(answer, output, "ZEL", "");
    if (answer.status == 0)
        requireAnswer(ask(zel_tool::infoCommand, std::string("--all ") + output.path()), false);
}

// The plan, the output, and the plan that the output holds.
void combine(const Files& files, const std::string& words)
{
    const std::string input = std::string(files.scene.path()) + words;
    const std::string output = files.output.path();
    const Answer plan = ask(zel_tool::combineCommand, input + " --dry-run --json");
    requireAnswer(plan, false);
    zel_fuzz::requireJson(plan);
    const Answer made = ask(zel_tool::combineCommand, input + " -o " + output);
    requireScene(made, files.output);
    zel_fuzz::require(plan.status == 0 || made.status != 0, "what is refused is not done");
    if (made.status == 0)
        requireScene(ask(zel_tool::replayCommand, output + " -o " + files.again.path()),
                     files.again);
    std::remove(files.output.path());
    std::remove(files.again.path());
}

void calculate(const Files& files, const std::string& words)
{
    const std::string output = std::string(" -o ") + files.output.path();
    const Answer made = ask(zel_tool::calcCommand, words + " " + files.scene.path() + output);
    requireScene(made, files.output);
    std::remove(files.output.path());
}

void sample(const Files& files, const char* more)
{
    const std::string text = parametersFor(files.scene, more);
    const zel_fuzz::File parameters("parameters", text);
    const std::string output = files.output.path();
    const Answer made =
        ask(zel_tool::sampleCommand, std::string(parameters.path()) + " --json -o " + output);
    zel_fuzz::requireWhole(made, files.output, "", "");
    zel_fuzz::requireJson(made);
    if (made.status == 0) requireAnswer(ask(zel_tool::samplesCommand, "--csv " + output), false);
    std::remove(files.output.path());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Files files{zel_fuzz::File("scene", zel_fuzz::withClassTables(data, size)),
                      zel_fuzz::File("made"), zel_fuzz::File("made_again")};
    combine(files, "");
    combine(files, " --method *=mode --missing *=nan --min-valid 50% --allow truncated "
                   "--allow ratio --allow extent");
    calculate(files, "X=lat+Ch1/Ch2;Y=X>0 --as Y=u8 --keep");
    calculate(files, "Z=class+sz --as u16:-1:1");
    sample(files, "");
    sample(files, "subsample sqrt\n");
    return 0;
}
