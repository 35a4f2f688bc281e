#include "store/detail/TransactionChanges.h"

namespace qsml::detail {

namespace {
constexpr std::size_t searchedInLine = 8;
constexpr std::size_t carriedRows = 16'384;
constexpr std::size_t npos = static_cast<std::size_t>(-1);
}  // namespace

std::size_t TransactionChanges::positionOf(std::uint32_t collection, std::string_view key) const {
    if (changes_.size() > searchedInLine) {
        const auto found = positions_.find({collection, key});
        return found == positions_.end() ? npos : found->second;
    }
    for (std::size_t i = 0; i < changes_.size(); ++i)
        if (values_[i].collection == collection && changes_[i].row.key == key) return i;
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
    changes_.push_back({.row = {collection.name, String(key)}});
    values_.push_back({.collection = collection.id});
    if (position == searchedInLine)
        for (std::size_t i = 0; i < position; ++i)
            positions_.emplace(Place{values_[i].collection, changes_[i].row.key.view()}, i);
    if (position >= searchedInLine)
        positions_.emplace(Place{collection.id, changes_[position].row.key.view()}, position);
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
