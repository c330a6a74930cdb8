// zel dump: every field of a file with its place.
#include <memory>

#include "base/failure.hpp"
#include "base/json.hpp"
#include "base/report.hpp"
#include "base/text.hpp"
#include "command/verbs.hpp"
#include "scene/library.hpp"

namespace zel_tool {
namespace {

constexpr std::size_t longestValue = 100;

struct Options {
    std::vector<std::string> files;
    std::string record;
    bool lines = false;
    bool pixels = false;
    bool all = false;
    bool json = false;
};

// Fields as they come. Those of a channel record wait until it is known whether the slot holds
// anything.
class Printer {
public:
    explicit Printer(const Options& options) : options_(options) {}

    void take(const ZELDumpField& field)
    {
        const std::string slot = slotOf(field.record);
        if (slot != slot_ || field.component != component_) flush();
        slot_ = slot;
        component_ = field.component;
        const std::string value = field.value;
        if (slot_.empty())
            isEmpty_ = false;
        else
            isEmpty_ = isEmpty_ && (value.empty() || value == "0");
        if (isWanted(field.record)) {
            waiting_ += options_.json ? jsonOf(field) : textOf(field);
            found_ = true;
        }
        if (!isEmpty_ || showsEmpty()) release();
    }

    // Whether any record was the wanted one.
    bool hasFound() const { return found_; }

    void finish()
    {
        flush();
        if (hidden_ > 0 && !options_.json && options_.record.empty())
            put(format("\n%d empty channel slots are not shown; --all shows them\n", hidden_));
    }

private:
    // "channel 12" of "channel 12 histogram"; nothing for other records.
    static std::string slotOf(const std::string& record)
    {
        if (!record.starts_with("channel ")) return {};
        return record.substr(0, record.find(' ', 8));
    }

    bool isWanted(const std::string& record) const
    {
        const std::string& wanted = options_.record;
        return wanted.empty() || record == wanted || record.starts_with(wanted + " ");
    }

    // An empty slot that is asked for by name is shown.
    bool showsEmpty() const { return options_.all || !options_.record.empty(); }

    void release()
    {
        put(waiting_);
        waiting_.clear();
    }

    void flush()
    {
        if (isEmpty_ && !showsEmpty() && !slot_.empty())
            ++hidden_;
        else
            release();
        if (isEmpty_) title_.clear();
        waiting_.clear();
        isEmpty_ = true;
    }

    std::string textOf(const ZELDumpField& field)
    {
        const std::string title =
            (field.component > 0 ? format("part %d ", field.component) : "") + field.record;
        const std::string head = title == title_ ? "" : title + "\n";
        title_ = title;
        std::string value = utf8(field.value);
        if (value.size() > longestValue && !options_.all)
            value.replace(longestValue, std::string::npos, " ...");
        std::string line = format("%12lld %7lld  %-12s ", static_cast<long long>(field.offset),
                                  static_cast<long long>(field.size), field.type);
        line += padded(field.name, 22) + " " + value;
        line.erase(line.find_last_not_of(' ') + 1);
        return head + line + "\n";
    }

    static std::string jsonOf(const ZELDumpField& field)
    {
        const Json json = {{"offset", field.offset},  {"size", field.size},
                           {"part", field.component}, {"order", field.bigEndian ? "big" : "little"},
                           {"record", field.record},  {"type", field.type},
                           {"name", field.name},      {"value", utf8(field.value)}};
        return json.dump() + "\n";
    }

    const Options& options_;
    std::string title_;
    std::string slot_;
    int component_ = 0;
    bool isEmpty_ = true;
    bool found_ = false;
    int hidden_ = 0;
    std::string waiting_;
};

int takeField(void* printer, const ZELDumpField* field)
{
    static_cast<Printer*>(printer)->take(*field);
    return 0;
}

// A record of a line is looked for among the lines.
int depthOf(const Options& o)
{
    if (o.pixels) return ZEL_DUMP_PIXELS;
    return o.lines || o.record.starts_with("line ") ? ZEL_DUMP_LINES : ZEL_DUMP_HEADER;
}

int dumpFile(const Options& o, const std::string& file)
{
    requireFile(file);
    if (o.files.size() > 1 && !o.json) put(printable(file) + "\n");
    Printer printer(o);
    int result = 0;
    std::string reason;
    try {
        guarded([&] { result = ZELDumpFile(file.c_str(), depthOf(o), takeField, &printer); });
        if (result < 0) reason = openingReason(file);
    } catch (const Failure& failure) {
        reason = failure.what();
    }
    printer.finish();
    if (!reason.empty()) throw Failure(reason);
    if (!printer.hasFound()) throw Failure("has no record '" + printable(o.record) + "'");
    return statusDone;
}

int run(const Options& o)
{
    return forEachFile(o.files, [&](const std::string& file) { return dumpFile(o, file); });
}

}  // namespace

Command dumpCommand()
{
    auto o = std::make_shared<Options>();
    return {
        "dump",
        "shows every field of a file with its place",
        {"Prints, record by record, the offset, size, type, name and value of every field in the "
         "order of the file. What a damaged file still holds is shown up to the place of the "
         "damage, "
         "which is then reported.",
         "Channel slots in which every field is 0 are left out unless --all asks for them."},
        {{"FILE", "A ZEL file or container, of any version and byte order.", &o->files}},
        {{"--lines", "", "The scan lines too; pixels as one field a channel.", &o->lines},
         {"--pixels", "", "The scan lines, with the stored number of every pixel.", &o->pixels},
         {"--record", "NAME", "Only this record, as in \"prefix\", \"channel 3\" or \"line 7\".",
          &o->record},
         {"-a,--all", "", "Empty channel slots too, and long values whole.", &o->all},
         {"--json", "", "Print a JSON object for each field, one a line.", &o->json}},
        {{"dump scene.zel", "All of a header."},
         {"dump scene.zel --record \"line 7\"", "One scan line."}},
        "the file could not be read, or is damaged",
        [o] { return run(*o); }};
}

}  // namespace zel_tool
