#include "support/format_document.hpp"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "support/places.hpp"

namespace zel_test {
namespace {

std::string trimmed(const std::string& text)
{
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

Strings cellsOf(const std::string& line)
{
    Strings cells;
    std::istringstream in(line.substr(1));
    for (std::string cell; std::getline(in, cell, '|');) cells.push_back(trimmed(cell));
    return cells;
}

Document readDocument()
{
    Document document;
    std::ifstream in(sourceFile("docs/format.md"));
    std::string heading;
    bool inTable = false;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("#")) heading = trimmed(line.substr(line.find_first_not_of('#')));
        const bool isRow = line.starts_with("|");
        if (isRow && !inTable) {
            ++document.numTables;
            document.tables[heading].columns = cellsOf(line);
        } else if (isRow && !line.starts_with("| -")) {
            document.tables[heading].rows.push_back(cellsOf(line));
        }
        inTable = isRow;
    }
    return document;
}

bool isNumber(const std::string& word)
{
    return std::isdigit(static_cast<unsigned char>(word[0])) != 0;
}

}  // namespace

std::string DocTable::cell(const Strings& row, const std::string& column) const
{
    const auto it = std::find(columns.begin(), columns.end(), column);
    return it == columns.end() ? "" : row.at(static_cast<std::size_t>(it - columns.begin()));
}

const DocTable& Document::table(const std::string& heading) const
{
    const auto it = tables.find(heading);
    if (it == tables.end()) throw std::runtime_error("no table under the heading " + heading);
    return it->second;
}

const Document& document()
{
    static const Document theDocument = readDocument();
    return theDocument;
}

Strings codesIn(const std::string& cell)
{
    Strings codes;
    static const std::regex code("`([^`]+)`");
    for (std::sregex_iterator it(cell.begin(), cell.end(), code), end; it != end; ++it)
        codes.push_back((*it)[1]);
    return codes;
}

long valueOf(const std::string& text, const Names& names)
{
    long sum = 0;
    long product = 1;
    std::istringstream in(text);
    for (std::string word; in >> word;) {
        if (word == "+") {
            sum += product;
            product = 1;
        } else if (word != "x") {
            product *= isNumber(word) ? std::stol(word) : names.at(word);
        }
    }
    return sum + product;
}

int versionOf(const std::string& text)
{
    return text.empty() ? 0 : static_cast<int>(std::stod(text) * 100.0 + 0.5);
}

}  // namespace zel_test
