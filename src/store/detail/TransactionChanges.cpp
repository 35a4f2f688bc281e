#include "store/detail/TransactionChanges.h"

namespace qsml::detail {

namespace {
constexpr std::size_t searchedInLine = 8;
constexpr std::size_t carriedRows = 16'384;
constexpr std::size_t npos = static_cast<std::size_t>(-1);
}  // namespace

bool TransactionChanges::isAt(std::size_t position, std::uint32_t collection,
                              std::string_view key) const {
    return values_[position].collection == collection && changes_[position].row.key == key;
}

/// Where the row is in the table, or the free slot for it. The table is never full.
std::size_t TransactionChanges::slotOf(std::uint32_t collection, std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = (std::hash<std::string_view>()(key) + collection) & mask;
    while (slots_[slot] != 0 && !isAt(slots_[slot] - 1, collection, key)) slot = (slot + 1) & mask;
    return slot;
}

void TransactionChanges::growSlots() {
    slots_.assign(slots_.empty() ? 4 * searchedInLine : 2 * slots_.size(), 0);
    for (std::size_t i = 0; i < changes_.size(); ++i)
        slots_[slotOf(values_[i].collection, changes_[i].row.key)] =
            static_cast<std::uint32_t>(i + 1);
}

std::size_t TransactionChanges::positionOf(std::uint32_t collection, std::string_view key) const {
    if (!slots_.empty()) return std::size_t{slots_[slotOf(collection, key)]} - 1;
    for (std::size_t i = 0; i < changes_.size(); ++i)
        if (isAt(i, collection, key)) return i;
    return npos;
}

const RowValues* TransactionChanges::find(std::uint32_t collection, std::string_view key) const {
    const std::size_t position = positionOf(collection, key);
    return position == npos ? nullptr : &values_[position];
}

std::size_t TransactionChanges::note(const Collection& collection, std::string_view key) {
    const std::size_t known = positionOf(collection.id, key);
    if (known != npos) return known;
    const std::size_t position = changes_.size();
    values_.reserve(values_.size() == values_.capacity() ? values_.size() * 2 + 1
                                                         : values_.capacity());
    if (position >= searchedInLine && slots_.size() < 2 * (position + 1)) growSlots();
    changes_.push_back({.row = {collection.name, String(key)}});
    values_.push_back({.collection = collection.id});
    if (!slots_.empty())
        slots_[slotOf(collection.id, key)] = static_cast<std::uint32_t>(position + 1);
    return position;
}

void TransactionChanges::keep(Value& place, RowValues::Half& half, Value value) const {
    const bool isCarried = changes_.size() <= carriedRows;
    half = isCarried ? RowValues::Half::carried : RowValues::Half::dropped;
    place = isCarried ? std::move(value) : Value();
}

void TransactionChanges::noteObject(const Collection& collection, std::string_view key,
                                    Value object) {
    const std::size_t position = note(collection, key);
    changes_[position].object = true;
    changes_[position].removed = values_[position].isRemoved = false;
    keep(values_[position].object, values_[position].objectHalf, std::move(object));
}

void TransactionChanges::noteMetadata(const Collection& collection, std::string_view key,
                                      Value metadata) {
    const std::size_t position = note(collection, key);
    changes_[position].metadata = true;
    keep(values_[position].metadata, values_[position].metadataHalf, std::move(metadata));
}

void TransactionChanges::noteTouch(const Collection& collection, std::string_view key, bool object,
                                   bool metadata) {
    YapDatabaseRowChange& change = changes_[note(collection, key)];
    change.object |= object;
    change.metadata |= metadata;
}

void TransactionChanges::noteRemoval(const Collection& collection, std::string_view key) {
    const std::size_t position = note(collection, key);
    changes_[position].object = changes_[position].metadata = true;
    changes_[position].removed = true;
    values_[position] = {.collection = collection.id,
                         .isRemoved = true,
                         .objectHalf = RowValues::Half::carried,
                         .metadataHalf = RowValues::Half::carried};
}

}  // namespace qsml::detail
