#include "store/views/detail/listOrder.h"

#include <algorithm>
#include <limits>

#include "store/detail/PackedKey.h"
#include "store/views/detail/mappedChanges.h"

namespace qsml::detail {

namespace {

constexpr std::uint64_t unnamed = std::numeric_limits<std::uint64_t>::max();

}  // namespace

std::string listKey(std::string_view key) {
    const PackedKey packed(key);
    std::string text(1, packed.isText() ? 't' : 'p');
    const auto bytes = packed.bytes();
    return text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

void ListedRows::append(const ViewEntry& entry, std::uint64_t position, bool isNew) {
    entries_.insert(entries_.size(), entry.rowid, entry.key);
    rows_.push_back({entry.rowid, position, isNew, unnamed});
}

void ListedRows::add(const ViewEntry& entry, std::uint64_t position) {
    append(entry, position, false);
}

void ListedRows::addNew(const ViewEntry& entry) { append(entry, 0, true); }

void ListedRows::name(std::string_view key) {
    if (places_.empty())
        for (std::size_t i = 0; i < rows_.size(); ++i) places_.emplace(keyOf(i), i);
    const auto found = places_.find(listKey(key));
    const std::uint64_t number = names_++;
    if (found != places_.end() && rows_[found->second].wish == unnamed)
        rows_[found->second].wish = number;
}

void ListedRows::forgetNames() {
    for (Row& row : rows_) row.wish = unnamed;
}

std::vector<std::size_t> ListedRows::wantedOrder() const {
    std::vector<std::size_t> order(rows_.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto isBefore = [this](std::size_t a, std::size_t b) {
        if (rows_[a].wish != rows_[b].wish) return rows_[a].wish < rows_[b].wish;
        return rows_[a].rowid < rows_[b].rowid;
    };
    if (!std::is_sorted(order.begin(), order.end(), isBefore))
        std::sort(order.begin(), order.end(), isBefore);
    return order;
}

std::vector<std::int64_t> ListedRows::moveIn(ViewTree& tree, std::vector<std::uint64_t> leaving,
                                             ViewEdit& edit) {
    const std::vector<std::size_t> order = wantedOrder();
    std::vector<std::uint64_t> positions;  // of those that stand in the tree, in the wanted order
    std::vector<std::size_t> standing;     // their places in that order
    for (std::size_t place = 0; place < order.size(); ++place) {
        if (rows_[order[place]].isNew) continue;
        positions.push_back(rows_[order[place]].position);
        standing.push_back(place);
    }
    std::vector<bool> stays(order.size());
    for (const std::size_t i : longestIncreasingRun(positions)) stays[standing[i]] = true;

    std::vector<std::int64_t> moved;
    for (std::size_t place = 0; place < order.size(); ++place) {
        const Row& row = rows_[order[place]];
        if (stays[place] || row.isNew) continue;
        leaving.push_back(row.position);
        moved.push_back(row.rowid);
    }
    std::sort(leaving.begin(), leaving.end());
    for (std::size_t i = leaving.size(); i-- > 0;) tree.erase(leaving[i], edit);
    for (std::size_t place = 0; place < order.size(); ++place) {
        if (stays[place]) continue;
        tree.insert(place, {rows_[order[place]].rowid, keyOf(order[place])}, edit);
        hasChanged_ = true;
    }
    hasChanged_ = hasChanged_ || !leaving.empty();
    return moved;
}

}  // namespace qsml::detail
