// What ZELDumpFile hands out of a file.
#pragma once

#include <string>
#include <vector>

#include "support/outcome.hpp"

namespace zel_test {

struct DumpedField {
    long long offset, size;
    int component;
    bool bigEndian;
    std::string record, type, name, value;
};

struct Dumped {
    int result = -9;
    Outcome outcome;
    std::vector<DumpedField> fields;
};

inline Dumped dumpOf(const std::string& path, int depth)
{
    Dumped dumped;
    const auto note = [](void* fields, const ZELDumpField* f) {
        static_cast<std::vector<DumpedField>*>(fields)->push_back({f->offset, f->size, f->component,
                                                                   f->bigEndian != 0, f->record,
                                                                   f->type, f->name, f->value});
        return 0;
    };
    dumped.outcome =
        run([&] { dumped.result = ZELDumpFile(path.c_str(), depth, note, &dumped.fields); });
    return dumped;
}

inline Dumped dumpOf(const Bytes& bytes, int depth)
{
    const TempDir dir;
    writeFile(dir.path("f"), bytes);
    return dumpOf(dir.path("f"), depth);
}

// "offset size type record: name = value"
inline std::string lineOf(const DumpedField& f)
{
    return std::to_string(f.offset) + " " + std::to_string(f.size) + " " + f.type + " " + f.record +
           ": " + f.name + " = " + f.value;
}

}  // namespace zel_test
