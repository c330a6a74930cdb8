// zel merge of two files, parted by a line of "====": the same bytes in either order and when it is merged
// again, or a message and no output.
#include "verbs_support.hpp"
#include "zel/archive/merge/merge_input.hpp"

namespace {

using zel_fuzz::Answer;
using zel_fuzz::require;

constexpr std::string_view border = "\n====\n";

// Files of several kinds are a mistake in the command line, which is not looked for here.
bool areOfOneKind(const zel_fuzz::File& a, const zel_fuzz::File& b)
{
    try {
        return zel_tool::kindOf(a.path()) == zel_tool::kindOf(b.path());
    } catch (const zel_tool::Failure& failure) {
        require(*failure.what() != '\0', "a refusal has a message");
        return false;
    }
}

Answer merge(const std::string& files, const zel_fuzz::File& output)
{
    Answer answer = zel_fuzz::ask(zel_tool::mergeCommand, files + " -o " + output.path());
    zel_fuzz::requireAnswer(answer, false);
    const bool isThere = access(output.path(), F_OK) == 0;
    require(isThere == (answer.status == 0), "an output is there when it was made");
    return answer;
}

std::string partOf(std::string_view input)
{
    return zel_fuzz::withClassTables(reinterpret_cast<const std::uint8_t*>(input.data()),
                                     input.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const auto at = input.find(border);
    const bool isTwo = at != std::string_view::npos;
    const zel_fuzz::File a("merge_a", partOf(input.substr(0, at)));
    const zel_fuzz::File b("merge_b", partOf(isTwo ? input.substr(at + border.size()) : ""));
    if (isTwo && !areOfOneKind(a, b)) return 0;
    if (!isTwo && !areOfOneKind(a, a)) return 0;
    const zel_fuzz::File ab("merge_ab");
    const zel_fuzz::File ba("merge_ba");
    const zel_fuzz::File again("merge_again");
    const std::string first = a.path();
    const std::string second = isTwo ? std::string(" ") + b.path() : "";
    const Answer made = merge(first + second, ab);
    const Answer turned = merge(isTwo ? b.path() + (" " + first) : first, ba);
    require((made.status == 0) == (turned.status == 0), "the order does not matter");
    if (made.status != 0) return 0;
    require(zel_fuzz::contentOf(ab.path()) == zel_fuzz::contentOf(ba.path()),
            "the order gives the same bytes");
    require(merge(ab.path(), again).status == 0 &&
                zel_fuzz::contentOf(ab.path()) == zel_fuzz::contentOf(again.path()),
            "what was merged can be merged again");
    return 0;
}
