#include "Table.h"

#include <algorithm>

#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

constexpr std::size_t rowsHeldBack = 500;

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)), widths_(columns_.size()) {
    Row head;
    for (const Column& column : columns_) head.push_back(column.title);
    add(std::move(head));
}

Table::~Table() { finish(); }

void Table::add(Row row) {
    for (std::string& text : row) text = printable(text);
    if (isWriting_) {
        write(row);
        return;
    }
    heldBack_.push_back(std::move(row));
    if (heldBack_.size() > rowsHeldBack) finish();
}

void Table::finish() {
    if (isWriting_) return;
    isWriting_ = true;
    for (const Row& row : heldBack_)
        for (std::size_t i = 0; i < columns_.size(); ++i)
            widths_[i] = std::min(columns_[i].widest, std::max(widths_[i], displayWidth(row[i])));
    for (const Row& row : heldBack_) write(row);
    heldBack_.clear();
}

void Table::write(const Row& row) const {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const std::size_t width = displayWidth(row[i]);
        const bool isRight = columns_[i].isRightAligned;
        if (isRight && width < widths_[i]) line += std::string(widths_[i] - width, ' ');
        const bool fits = width <= widths_[i];
        line += isRight && fits ? row[i] : fitted(row[i], widths_[i]);
        line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    putLine(line);
}

}  // namespace qsml::app
