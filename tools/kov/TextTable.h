#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kovhost {

/// A table of text cells printed with every column as wide as its widest cell, headings first.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headings);
    /// A table without a heading row.
    explicit TextTable(size_t columns) : mColumns(columns) {}

    /// Missing cells are empty; surplus cells are dropped.
    void addRow(std::vector<std::string> cells);

    /// Each line starts with indent blanks; columns are separated by two blanks and the last one
    /// is not padded, so no line ends in blanks.
    void print(std::ostream& out, size_t indent = 2) const;

private:
    size_t mColumns;
    std::vector<std::vector<std::string>> mRows;
};

} // namespace kovhost
