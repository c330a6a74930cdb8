#include "scene/findings.hpp"

#include <algorithm>

#include "base/failure.hpp"
#include "base/text.hpp"

namespace zel_tool {

void Findings::add(Finding finding)
{
    const auto same = std::find_if(list_.begin(), list_.end(), [&](const Finding& f) {
        return f.part == finding.part && f.what == finding.what && f.isNote == finding.isNote &&
               f.where.substr(0, 5) == finding.where.substr(0, 5);
    });
    if (same == list_.end())
        list_.push_back(std::move(finding));
    else
        ++same->more;
}

void Findings::problem(long long offset, int part, const std::string& where,
                       const std::string& what)
{
    add({offset, part, where, what, false});
}

void Findings::note(long long offset, int part, const std::string& where, const std::string& what)
{
    add({offset, part, where, what, true});
}

bool Findings::hasProblems() const
{
    return std::any_of(list_.begin(), list_.end(), [](const Finding& f) { return !f.isNote; });
}

std::string findingText(const Finding& f, bool container)
{
    std::string text = f.isNote ? "note: " : "";
    if (f.offset >= 0) text += format("offset %lld: ", f.offset);
    if (container) text += format("part %d: ", f.part);
    text += (f.where.empty() ? "" : f.where + ": ") + f.what;
    if (f.more > 0) text += format(" (and %lld more like this)", f.more);
    return text;
}

Json findingJson(const Finding& f)
{
    return {{"offset", f.offset >= 0 ? Json(f.offset) : Json(nullptr)},
            {"part", f.part},
            {"where", f.where},
            {"what", f.what},
            {"more", f.more}};
}

namespace {

struct Reading {
    Places* places;
    Findings* findings;
    std::vector<std::pair<std::string, long long>>* header;
    FieldCheck* fields;
};

std::string keyOf(int part, const std::string& record, const std::string& name)
{
    return std::to_string(part) + "/" + record + "/" + name;
}

}  // namespace

int takePlace(void* data, const ZELDumpField* field)
{
    const auto& reading = *static_cast<Reading*>(data);
    const std::string record = field->record;
    if (record == "file")
        reading.findings->problem(
            field->offset, field->component, "file",
            format("%lld %s", static_cast<long long>(field->size), field->name));
    else if (!record.starts_with("line ")) {
        reading.header->emplace_back(keyOf(field->component, record, field->name), field->offset);
        reading.fields->take(*field);
    }
    return 0;
}

bool Places::read(const std::string& file, Findings& findings)
{
    FieldCheck fields(file, findings);
    Reading reading{this, &findings, &header_, &fields};
    int result = 0;
    std::string reason;
    try {
        guarded([&] { result = ZELDumpFile(file.c_str(), ZEL_DUMP_LINES, takePlace, &reading); });
        if (result < 0) reason = openingReason(file);
    } catch (const Failure& failure) {
        reason = failure.what();
    }
    std::sort(header_.begin(), header_.end());
    if (reason.empty()) return true;
    long long offset = -1;
    if (const auto at = reason.rfind(" at offset "); at != std::string::npos)
        if (parseInteger(reason.substr(at + 11), offset)) reason.resize(at);
    findings.problem(offset, 0, "", reason);
    return false;
}

long long Places::of(int part, const std::string& record, const std::string& name) const
{
    const std::string key = keyOf(part, record, name);
    const auto found = std::lower_bound(header_.begin(), header_.end(), std::make_pair(key, -1LL));
    return found != header_.end() && found->first == key ? found->second : -1;
}

}  // namespace zel_tool
