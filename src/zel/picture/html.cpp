#include "picture/html.hpp"

#include <algorithm>

#include "base/text.hpp"

namespace zel_tool {
namespace {

struct Entity {
    char character;
    std::string_view text;
};

constexpr Entity entities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

// Whether any row but the first, that of the titles, has text there.
bool isUsed(const std::vector<std::vector<std::string>>& rows, std::size_t column)
{
    for (std::size_t i = 1; i < rows.size(); ++i)
        if (!rows[i][column].empty()) return true;
    return false;
}

}  // namespace

std::string html(std::string_view text)
{
    std::string out;
    for (const char c : printable(text)) {
        const auto found = std::find_if(std::begin(entities), std::end(entities),
                                        [c](const Entity& e) { return e.character == c; });
        if (found == std::end(entities))
            out += c;
        else
            out += found->text;
    }
    return out;
}

std::string fromHtml(const std::string& text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const auto found = std::find_if(std::begin(entities), std::end(entities), [&](Entity e) {
            return text.compare(at, e.text.size(), e.text) == 0;
        });
        const bool isEntity = found != std::end(entities);
        out += isEntity ? found->character : text[at];
        at += isEntity ? found->text.size() : 1;
    }
    return out;
}

std::string element(const std::string& name, const std::string& content, const std::string& style)
{
    const std::string attribute = style.empty() ? "" : " class=\"" + style + "\"";
    return "<" + name + attribute + ">" + content + "</" + name + ">\n";
}

std::string base64(std::string_view bytes)
{
    static constexpr char digits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t j = i; j < i + 3; ++j)
            group = group << 8U | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0U);
        for (std::size_t j = 0; j < 4; ++j)
            out += i + j > bytes.size() ? '=' : digits[group >> (18U - 6U * j) & 63U];
    }
    return out;
}

std::string htmlImage(const Image& image, const std::string& description)
{
    return format("<img width=\"%d\" height=\"%d\" alt=\"", image.width(), image.height()) +
           html(description) + "\" src=\"data:image/png;base64," +
           base64(image.isGrey() ? greyPngOf(image) : pngOf(image)) + "\">\n";
}

std::string htmlTable(const std::vector<std::vector<std::string>>& rows, const std::string& right)
{
    std::string body;
    for (const auto& row : rows) {
        const std::string cell = &row == rows.data() ? "th" : "td";
        std::string cells;
        for (std::size_t i = 0; i < row.size(); ++i)
            if (isUsed(rows, i))
                cells += element(cell, html(row[i]), right[i] == 'r' ? "number" : "");
        body += element("tr", cells);
    }
    return element("div", element("table", body), "wide");
}

}  // namespace zel_tool
