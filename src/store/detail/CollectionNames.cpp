#include "store/detail/CollectionNames.h"

#include <mutex>

#include "store/detail/checksum.h"

namespace qsml::detail {

Collection::Collection(std::int64_t number, std::string_view text)
    : id(static_cast<std::uint32_t>(number)),
      name(text.data() ? text : std::string_view("")),
      seed(collectionSeed(number, text)) {}

const Collection* CollectionNames::named(std::string_view name) const {
    const std::shared_lock lock(mutex_);
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

const Collection* CollectionNames::numbered(std::uint32_t id) const {
    const std::shared_lock lock(mutex_);
    const auto found = byNumber_.find(id);
    return found == byNumber_.end() ? nullptr : found->second.get();
}

const Collection* CollectionNames::add(const Collection& collection) {
    const std::lock_guard lock(mutex_);
    auto& place = byNumber_[collection.id];
    if (!place) place = std::make_unique<const Collection>(collection);
    byName_.emplace(place->name.view(), place.get());
    return place.get();
}

}  // namespace qsml::detail
