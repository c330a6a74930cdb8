// The format reference, docs/format.md, as a program sees it: its tables, found by their headings.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace zel_test {

using Strings = std::vector<std::string>;
using Names = std::map<std::string, long>;  // what a name in an offset or a size stands for

struct DocTable {
    Strings columns;
    std::vector<Strings> rows;

    // A cell of one of the rows; empty when there is no such column.
    std::string cell(const Strings& row, const std::string& column) const;
};

struct Document {
    std::map<std::string, DocTable> tables;  // by heading
    int numTables = 0;

    const DocTable& table(const std::string& heading) const;  // throws when there is none
};

// The format reference, read once.
const Document& document();

// The texts in code type of a cell.
Strings codesIn(const std::string& cell);

// A sum of products of numbers and names, such as "32 + 4 x NumNavPoints".
long valueOf(const std::string& text, const Names& names);

// "2.3" and "2.30" are 230; nothing is every version, 0.
int versionOf(const std::string& text);

}  // namespace zel_test
