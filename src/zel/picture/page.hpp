// A page about a file: one HTML document that needs nothing else.
#pragma once

#include <optional>
#include <string>

#include "picture/view.hpp"
#include "scene/library.hpp"

namespace zel_tool {

// Facts, pictures, a map, the parts of a container, channels with their histograms, LUTs and
// metadata. The main picture is that of the look. Reads every pixel. Throws Failure.
std::string pageOf(Scene& scene, const Subject& subject, const Look& look, Size size);

// Where a page comes from that a run has made; nothing in others.
std::optional<std::string> provenanceOfPage(const std::string& page);

// The style sheet of the page.
extern const char* const pageStyle;

}  // namespace zel_tool
