#include "TrackTable.h"

#include <algorithm>

#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

constexpr std::array<std::size_t, TrackTable::columns> widest = {40, 30, 40, 8, 7, 8};
constexpr std::array<bool, TrackTable::columns> isRightAligned = {false, false, false,
                                                                  true,  true,  false};
constexpr std::size_t rowsHeldBack = 500;

}  // namespace

TrackTable::TrackTable(Row head) { add(std::move(head)); }

TrackTable::~TrackTable() { finish(); }

void TrackTable::add(Row row) {
    for (std::string& text : row) text = printable(text);
    if (isWriting_) {
        write(row);
        return;
    }
    heldBack_.push_back(std::move(row));
    if (heldBack_.size() > rowsHeldBack) finish();
}

void TrackTable::finish() {
    if (isWriting_) return;
    isWriting_ = true;
    for (const Row& row : heldBack_)
        for (std::size_t i = 0; i < columns; ++i)
            widths_[i] = std::min(widest[i], std::max(widths_[i], displayWidth(row[i])));
    for (const Row& row : heldBack_) write(row);
    heldBack_.clear();
}

void TrackTable::write(const Row& row) const {
    std::string line;
    for (std::size_t i = 0; i < columns; ++i) {
        const std::size_t width = displayWidth(row[i]);
        if (isRightAligned[i] && width < widths_[i]) line += std::string(widths_[i] - width, ' ');
        const bool fits = width <= widths_[i];
        line += isRightAligned[i] && fits ? row[i] : fitted(row[i], widths_[i]);
        line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    putLine(line);
}

}  // namespace qsml::app
