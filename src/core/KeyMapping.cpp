#include "core/KeyMapping.h"

#include <algorithm>

namespace qsml {

KeyMapping::KeyMapping(const std::vector<std::pair<String, String>>& pairs) {
    for (const auto& [from, to] : pairs) {
        const auto place = std::lower_bound(pairs_.begin(), pairs_.end(), from,
                                            [](const std::pair<String, String>& pair,
                                               const String& key) { return pair.first < key; });
        if (place != pairs_.end() && place->first == from)
            place->second = to;
        else
            pairs_.emplace(place, from, to);
    }
}

String KeyMapping::operator[](std::string_view key) const {
    const auto found = std::lower_bound(
        pairs_.begin(), pairs_.end(), key,
        [](const std::pair<String, String>& pair, std::string_view k) { return *pair.first < k; });
    return found != pairs_.end() && found->first == key ? found->second : String();
}

KeyMapping KeyMapping::inverse() const {
    std::vector<std::pair<String, String>> reversed;
    reversed.reserve(pairs_.size());
    for (const auto& [from, to] : pairs_) reversed.emplace_back(to, from);
    return KeyMapping(reversed);
}

}  // namespace qsml
