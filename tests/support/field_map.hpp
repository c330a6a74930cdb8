// Where each field of a scene file lies: a walker that notes what the library's own descriptions of
// its records name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/outcome.hpp"

namespace zel_test {

enum class FieldKind { unsignedInteger, signedInteger, real, text };

// A number, or a row of bytes that is no number. Elements of an array are fields of their own.
struct MappedField {
    std::string record;  // "header", "channel 3", "line 0" and so on
    std::string name;    // as its description has it; an element has its index after it
    std::size_t offset = 0, size = 0;
    FieldKind kind = FieldKind::signedInteger;
    bool bigEndian = false;

    std::string fullName() const { return record + ": " + name; }
};

struct FieldMap {
    std::vector<MappedField> fields;  // in file order
    std::size_t linesBegin = 0;       // after the last channel record
    std::size_t end = 0;              // after the last field
};

// The fields of the valid file, or component, from start on. Its lines begin padding bytes after
// its last channel record.
FieldMap mapFields(const Bytes& file, std::size_t start, std::size_t end, bool bigEndian,
                   std::size_t padding = 0);

// A number of a field of up to 4 bytes.
std::int64_t numberAt(const Bytes& file, const MappedField& field);
double realAt(const Bytes& file, const MappedField& field);
Bytes encoded(const MappedField& field, std::uint64_t bits);

}  // namespace zel_test
