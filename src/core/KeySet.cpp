#include "core/KeySet.h"

#include <algorithm>

namespace qsml {
namespace {

constexpr auto before = [](const String& a, std::string_view b) { return a.view() < b; };

}  // namespace

KeySet::KeySet(std::initializer_list<std::string_view> keys)
    : KeySet(std::vector<String>(keys.begin(), keys.end())) {}

KeySet::KeySet(std::vector<String> keys) : keys_(std::move(keys)) {
    std::sort(keys_.begin(), keys_.end());
    keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
}

const String* KeySet::find(std::string_view key) const {
    const auto found = std::lower_bound(keys_.begin(), keys_.end(), key, before);
    return found != keys_.end() && found->view() == key ? &*found : nullptr;
}

bool KeySet::insert(const String& key) {
    const auto place = std::lower_bound(keys_.begin(), keys_.end(), key.view(), before);
    if (place != keys_.end() && *place == key) return false;
    keys_.insert(place, key);
    return true;
}

bool KeySet::erase(std::string_view key) {
    const auto found = std::lower_bound(keys_.begin(), keys_.end(), key, before);
    if (found == keys_.end() || found->view() != key) return false;
    keys_.erase(found);
    return true;
}

bool KeySet::isSubsetOf(const KeySet& other) const {
    return std::includes(other.keys_.begin(), other.keys_.end(), keys_.begin(), keys_.end());
}

KeySet KeySet::intersection(const KeySet& other) const {
    KeySet common;
    std::set_intersection(keys_.begin(), keys_.end(), other.keys_.begin(), other.keys_.end(),
                          std::back_inserter(common.keys_));
    return common;
}

}  // namespace qsml
