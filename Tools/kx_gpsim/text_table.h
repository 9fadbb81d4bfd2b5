// Tables of text for a terminal or a file.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace kx {

/// A column and how its cells stand in it.
struct TableColumn {
    std::string title;
    bool right = false; ///< for numbers: aligned to the right, never wrapped or cut
};

/// The table with a line of titles and a rule below them. `rows` hold UTF-8, a cell a column; missing cells
/// are empty, surplus ones are left out, control characters are made visible. Where the table is wider than
/// `width` columns of the screen, the widest columns are made narrower and their cells wrapped, and cut with
/// an ellipsis after a few lines. None gets so narrow that it cannot be read, so a table of many
/// columns may stay wider. With `width` 0 nothing is changed. Lines have no trailing blanks. Linear in the
/// text's length.
[[nodiscard]] std::string FormatTable(std::span<const TableColumn> columns,
                                      const std::vector<std::vector<std::string>>& rows, int width);

} // namespace kx
