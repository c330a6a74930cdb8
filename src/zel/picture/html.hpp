// Pieces of a page: text and files of bytes as HTML.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "picture/image.hpp"

namespace zel_tool {

// A label or another text of a file, safe to show in a page and between quotes.
std::string html(std::string_view text);

// The text of which that was made.
std::string fromHtml(const std::string& text);

// "<name class="..">content</name>"; the content is HTML.
std::string element(const std::string& name, const std::string& content,
                    const std::string& style = "");

std::string base64(std::string_view bytes);

// An image as part of the page.
std::string htmlImage(const Image& image, const std::string& description);

// A table of texts, its titles first; right[i] is 'r' where column i holds numbers. Columns that
// are empty are left out.
std::string htmlTable(const std::vector<std::vector<std::string>>& rows, const std::string& right);

}  // namespace zel_tool
