#include "organisation/UncheckedUUIDs.h"

#include <algorithm>

#include "organisation/PLXMediaItemPlaylist.h"

namespace qsml {
namespace {

// The unarchiver bounds how much and how deep a value holds, what it shares counted each time.
bool holdsPlaylist(const Value& value) {
    if (objectOfClass<PLXMediaItemPlaylist>(value)) return true;
    const auto& elements = value.elements();
    const auto& pairs = value.dictionary();
    return std::any_of(elements.begin(), elements.end(), holdsPlaylist) ||
           std::any_of(pairs.begin(), pairs.end(), [](const auto& pair) {
               return holdsPlaylist(pair.first) || holdsPlaylist(pair.second);
           });
}

Value withoutPlaylists(const Value& value) {
    if (!value.isCollection()) return holdsPlaylist(value) ? Value() : value;
    Value::Array kept;
    for (const Value& element : value.elements())
        if (!holdsPlaylist(element)) kept.push_back(element);
    if (kept.size() == value.elements().size()) return value;
    if (value.kind() == Value::Kind::set) return Value(ValueSet(std::move(kept)));
    if (value.kind() == Value::Kind::orderedSet) return Value(OrderedSet<Value>(std::move(kept)));
    return Value(std::move(kept));
}

}  // namespace

UncheckedUUIDs UncheckedUUIDs::decoded(KeyedUnarchiver& coder, std::string_view key) {
    Value found = withoutPlaylists(coder.decodeValue(key));
    UncheckedUUIDs made;
    if (found.isCollection()) {
        std::vector<String> texts;
        texts.reserve(found.elements().size());
        for (const Value& element : found.elements())
            if (element.kind() == Value::Kind::string) texts.push_back(element.string());
        made.uuids_ = OrderedSet<String>(std::move(texts));
    }
    const bool saysTheSame =
        found.kind() == Value::Kind::orderedSet && made.uuids_->size() == found.elements().size();
    if (!saysTheSame) made.found_ = std::move(found);
    return made;
}

void UncheckedUUIDs::encode(KeyedArchiver& coder, std::string_view key) const {
    if (found_.isNil()) return coder.encodeOrderedSet(key, uuids_);
    coder.encodeValue(key, found_);
}

}  // namespace qsml
