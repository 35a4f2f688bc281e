#pragma once
#include <QSMediaLibraryData/foundation/OrderedSet.h>
#include <QSMediaLibraryData/foundation/String.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

namespace qsml::app {

/// Throws CommandFailure, which names the list ("queue") and the command that fills it.
[[noreturn]] void failWithoutEntry(std::string_view list, std::string_view filling,
                                   std::size_t position, std::size_t count);
[[noreturn]] void failBeyondEnd(std::string_view list, std::size_t position, std::size_t count);

/// Records in the order of a list of UUIDs that another record stores. UUIDs that name no record
/// stay where they are: these may be on their way from another device. Positions are those of the
/// records and count from 0.
template <class Record>
class ListedEntries {
public:
    using Item = std::shared_ptr<const Record>;

    /// `list` and `filling` are for messages, and must stay.
    ListedEntries(std::string_view list, std::string_view filling)
        : list_(list), filling_(filling) {}
    /// The records in their order, and what is stored; records missing in that are listed last.
    void take(std::vector<Item> items, std::vector<String> stored) {
        const std::set<String> known(stored.begin(), stored.end());
        items_ = std::move(items);
        order_ = std::move(stored);
        for (const Item& item : items_)
            if (!known.contains(item->uuid())) order_.push_back(item->uuid());
    }

    const std::vector<Item>& items() const { return items_; }
    OrderedSet<String> list() const { return OrderedSet<String>(order_); }

    // Each throws CommandFailure when there is no such position; nothing has changed then.

    void requirePosition(std::size_t position) const {
        if (position >= items_.size()) failWithoutEntry(list_, filling_, position, items_.size());
    }
    void requirePlace(std::size_t position) const {
        if (position > items_.size()) failBeyondEnd(list_, position, items_.size());
    }
    /// Before the entry at the position; at the end with items().size().
    void insert(Item item, std::size_t position) {
        requirePlace(position);
        const auto place = position < items_.size()
                               ? std::find(order_.begin(), order_.end(), items_[position]->uuid())
                               : order_.end();
        order_.insert(place, item->uuid());
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(position), std::move(item));
    }
    void move(std::size_t from, std::size_t to) {
        requirePosition(from);
        requirePosition(to);
        Item item = items_[from];
        std::erase(order_, item->uuid());
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(from));
        insert(std::move(item), to);
    }
    /// Answers what was at the positions, in their order.
    std::vector<Item> remove(const std::set<std::size_t>& positions) {
        std::vector<Item> removed;
        std::set<String> uuids;
        for (const std::size_t position : positions) {
            requirePosition(position);
            removed.push_back(items_[position]);
            uuids.insert(items_[position]->uuid());
        }
        std::erase_if(order_, [&](const String& uuid) { return uuids.contains(uuid); });
        std::erase_if(items_, [&](const Item& item) { return uuids.contains(item->uuid()); });
        return removed;
    }

private:
    std::string_view list_, filling_;
    std::vector<String> order_;  // the list that is stored, and the items missing in it
    std::vector<Item> items_;
};

}  // namespace qsml::app
