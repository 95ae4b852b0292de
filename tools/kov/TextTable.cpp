#include "TextTable.h"

#include <algorithm>

#include "TextFormat.h"

namespace kovhost {

TextTable::TextTable(std::vector<std::string> headings) : mColumns(headings.size()) {
    mRows.push_back(std::move(headings));
}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(mColumns);
    mRows.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out, size_t indent) const {
    std::vector<size_t> widths(mColumns, 0);
    for (const auto& row : mRows)
        for (size_t c = 0; c < mColumns; ++c)
            widths[c] = std::max(widths[c], displayWidth(row[c]));

    for (const auto& row : mRows) {
        std::string line(indent, ' ');
        // Trailing empty cells would only leave blanks at the end of the line.
        size_t used = mColumns;
        while (used > 1 && row[used - 1].empty())
            --used;
        for (size_t c = 0; c < used; ++c) {
            line += row[c];
            if (c + 1 < used)
                line += std::string(widths[c] - displayWidth(row[c]) + 2, ' ');
        }
        out << line << "\n";
    }
}

} // namespace kovhost
