#include "Tools/kx_gpsim/text_table.h"

#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>
#include <string_view>

namespace kx {

namespace {

constexpr std::size_t kGap = 2;       // blanks between columns
constexpr std::size_t kNarrowest = 8; // below this a wrapped column cannot be read
constexpr std::size_t kMostLines = 4; // of a wrapped cell
constexpr std::string_view kRule = "\xE2\x94\x80";
using Row = std::vector<std::string>;
using Widths = std::vector<std::size_t>;

Row VisibleRow(std::span<const TableColumn> columns, const Row& cells)
{
    Row visible(columns.size());
    for (std::size_t column = 0; column < columns.size() && column < cells.size(); ++column)
        visible[column] = VisibleText(cells[column]);
    return visible;
}

void Widen(Widths& widths, const Row& row)
{
    for (std::size_t column = 0; column < row.size(); ++column)
        widths[column] = std::max(widths[column], DisplayWidth(row[column]));
}

std::size_t TotalOf(const Widths& widths)
{
    std::size_t total = widths.empty() ? 0 : (widths.size() - 1) * kGap;
    for (const std::size_t width : widths)
        total += width;
    return total;
}

// The widest column that may give something, and has something to give; the table's end for none.
std::size_t WidestToGive(std::span<const TableColumn> columns, const Widths& widths)
{
    std::size_t widest = columns.size();
    for (std::size_t column = 0; column < columns.size(); ++column)
        if (!columns[column].right && widths[column] > kNarrowest &&
            (widest == columns.size() || widths[column] > widths[widest]))
            widest = column;
    return widest;
}

// The width of the second widest of those columns, down to which the widest can go at once.
std::size_t NextWidth(std::span<const TableColumn> columns, const Widths& widths, std::size_t widest)
{
    std::size_t next = kNarrowest;
    for (std::size_t column = 0; column < columns.size(); ++column)
        if (column != widest && !columns[column].right)
            next = std::max(next, std::min(widths[column], widths[widest] - 1));
    return next;
}

void Narrow(std::span<const TableColumn> columns, Widths& widths, std::size_t limit)
{
    for (std::size_t total = TotalOf(widths); total > limit; total = TotalOf(widths)) {
        const std::size_t widest = WidestToGive(columns, widths);
        if (widest == columns.size())
            return; // wider than asked, but readable
        const std::size_t surplus = total - limit;
        const std::size_t room = widths[widest] - NextWidth(columns, widths, widest);
        widths[widest] -= std::min(surplus, room);
    }
}

// Where the first line of a text ends, and where the next one begins.
struct LineEnd {
    std::size_t end;
    std::size_t next;
};

// Broken at the last blank that fits or behind the last comma, as in directory paths; else anywhere.
LineEnd FirstLine(std::string_view text, std::size_t width)
{
    std::size_t used = 0;
    LineEnd last{0, 0};
    for (std::size_t at = 0; at < text.size();) {
        const TextCharacter character = CharacterAt(text, at);
        used += static_cast<std::size_t>(CharacterWidth(character.code));
        if (character.code == U' ' && at != 0)
            last = {at, at + 1};
        if (used > width && at != 0)
            return last.next != 0 ? last : LineEnd{at, at};
        at += character.size;
        if (character.code == U',')
            last = {at, at};
    }
    return {text.size(), text.size()};
}

std::vector<std::string> Wrap(std::string_view text, std::size_t width)
{
    std::vector<std::string> lines;
    while (lines.size() + 1 < kMostLines && DisplayWidth(text.substr(0, 4 * width + 4)) > width) {
        const LineEnd line = FirstLine(text, width);
        lines.emplace_back(text.substr(0, line.end));
        text.remove_prefix(line.next);
    }
    lines.push_back(CutText(text, static_cast<int>(width)));
    return lines;
}

void AppendCell(std::string& line, const TableColumn& column, std::string_view text, std::size_t width)
{
    const std::size_t used = DisplayWidth(text);
    const std::size_t padding = width > used ? width - used : 0;
    line.append(column.right ? padding : 0, ' ').append(text).append(column.right ? 0 : padding, ' ');
}

void AppendLine(std::string& table, std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    table.append(line).append(1, '\n');
}

void AppendRow(std::string& table, std::span<const TableColumn> columns, const Widths& widths, const Row& row)
{
    std::vector<std::vector<std::string>> cells;
    std::size_t height = 1;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        cells.push_back(Wrap(row[column], std::max<std::size_t>(widths[column], 1)));
        height = std::max(height, cells.back().size());
    }
    for (std::size_t at = 0; at < height; ++at) {
        std::string line;
        for (std::size_t column = 0; column < columns.size(); ++column) {
            line.append(column == 0 ? 0 : kGap, ' ');
            const bool isThere = at < cells[column].size();
            AppendCell(line, columns[column], isThere ? cells[column][at] : std::string(), widths[column]);
        }
        AppendLine(table, std::move(line));
    }
}

void AppendRule(std::string& table, const Widths& widths)
{
    std::string line;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        line.append(column == 0 ? 0 : kGap, ' ');
        for (std::size_t at = 0; at < widths[column]; ++at)
            line += kRule;
    }
    AppendLine(table, std::move(line));
}

} // namespace

std::string FormatTable(std::span<const TableColumn> columns,
                        const std::vector<std::vector<std::string>>& rows, int width)
{
    Row titles;
    for (const TableColumn& column : columns)
        titles.push_back(VisibleText(column.title));
    Widths widths(columns.size());
    Widen(widths, titles);
    std::vector<Row> visible;
    visible.reserve(rows.size());
    for (const Row& row : rows) {
        visible.push_back(VisibleRow(columns, row));
        Widen(widths, visible.back());
    }
    if (width > 0)
        Narrow(columns, widths, static_cast<std::size_t>(width));
    std::string table;
    AppendRow(table, columns, widths, titles);
    AppendRule(table, widths);
    for (const Row& row : visible)
        AppendRow(table, columns, widths, row);
    return table;
}

} // namespace kx
