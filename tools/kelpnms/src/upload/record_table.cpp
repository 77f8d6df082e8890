#include "upload/record_table.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <numeric>

#include "text/display_text.h"

namespace kelp::nms {

namespace {

constexpr std::size_t kRowsToLookAt = 100;
constexpr std::size_t kGap = 2;  ///< blanks between two columns
/// minimum width of a column that is narrowed so that others fit
constexpr std::size_t kWidthLeast = 6;
constexpr std::size_t kWidthMost = 60;

/// Narrow the widest columns until all fit into `room`.
void shrink(std::vector<std::size_t>& widths, std::size_t room) {
    const auto sum = [&] { return std::accumulate(widths.begin(), widths.end(), std::size_t{0}); };
    for (std::size_t tooMuch = sum() > room ? sum() - room : 0; tooMuch > 0; --tooMuch) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= kWidthLeast)
            return;
        --*widest;
    }
}

}  // namespace

RecordTable::RecordTable(const RecordLayout& layout, Output& output, unsigned terminalColumns)
    : layout_(layout), output_(output), terminalColumns_(terminalColumns) {}

void RecordTable::write(const nlohmann::ordered_json& record) {
    Row row;
    for (const RecordLayout::Column& column : layout_.columns)
        row.push_back(util::escaped(column.text(record)));
    if (!widths_.empty())
        return output_.write(lineOf(row));
    heldBack_.push_back(std::move(row));
    if (heldBack_.size() >= kRowsToLookAt)
        layOut();
}

void RecordTable::finish() {
    if (widths_.empty())
        layOut();
}

void RecordTable::layOut() {
    Row titles;
    for (const RecordLayout::Column& column : layout_.columns)
        titles.push_back(column.title);
    heldBack_.insert(heldBack_.begin(), titles);
    widths_.assign(titles.size(), 0);
    for (const Row& row : heldBack_) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths_[i] = std::max(widths_[i], std::min(displayWidth(row[i]), kWidthMost));
    }
    const std::size_t gaps = (widths_.size() - 1) * kGap;
    if (terminalColumns_ > 0)
        shrink(widths_, terminalColumns_ > gaps ? terminalColumns_ - gaps : 0);
    for (const Row& row : heldBack_)
        output_.write(lineOf(row));
    heldBack_.clear();
}

std::string RecordTable::lineOf(const Row& row) const {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string text = terminalColumns_ > 0 ? cutTo(row[i], widths_[i]) : row[i];
        line += paddedTo(text, widths_[i]) + std::string(kGap, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return (terminalColumns_ > 0 ? cutTo(line, terminalColumns_) : line) + "\n";
}

}  // namespace kelp::nms
