// Lines that the command adds to the metadata text of a file, after what it holds already.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zel.h"

namespace zel_tool {

// Adds the line, which ends without a newline. False where the text is not free: metadata of a kind
// that programs take apart, bytes after their end, or no room.
bool addMetadataLine(ZELHeaderType& header, const std::string& line);

// What follows the mark in the last line that has it.
std::optional<std::string> lastMetadataLine(const ZELHeaderType& header, std::string_view mark);

// Adds where the outputs of a run come from, once, when there is a run and room.
void addProvenance(ZELHeaderType& header);

}  // namespace zel_tool
