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

/// A collection of the same kind.
template <class Condition>
Value withoutElements(const Value& collection, const Condition& isStruck) {
    Value::Array kept = collection.elements();
    if (std::erase_if(kept, isStruck) == 0) return collection;
    if (collection.kind() == Value::Kind::set) return Value(ValueSet(std::move(kept)));
    if (collection.kind() == Value::Kind::orderedSet)
        return Value(OrderedSet<Value>(std::move(kept)));
    return Value(std::move(kept));
}

Value withoutPlaylists(const Value& value) {
    if (value.isCollection()) return withoutElements(value, holdsPlaylist);
    return holdsPlaylist(value) ? Value() : value;
}

}  // namespace

UncheckedUUIDs UncheckedUUIDs::decoded(KeyedUnarchiver& coder, std::string_view key) {
    return readFrom(withoutPlaylists(coder.decodeValue(key)));
}

UncheckedUUIDs UncheckedUUIDs::without(const String& uuid) const {
    const Value all = found_.isNil() ? Value(uuids_) : found_;
    if (!all.isCollection()) return *this;
    return readFrom(withoutElements(all, [&](const Value& one) { return one == Value(uuid); }));
}

UncheckedUUIDs UncheckedUUIDs::readFrom(Value found) {
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
