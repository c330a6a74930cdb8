// What a field can be set to: the ends of its type, and both sides of the limits that the format
// has for it.
#pragma once

#include <vector>

#include "support/field_map.hpp"

namespace zel_test {

// Every value but the one that the field has, as bytes to be put in its place.
std::vector<Bytes> boundaryValues(const Bytes& file, const MappedField& field);

// The bytes as a message shows them.
std::string hex(const Bytes& bytes);

}  // namespace zel_test
