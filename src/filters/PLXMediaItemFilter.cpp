#include "filters/PLXMediaItemFilter.h"

#include <algorithm>

namespace qsml {

QSML_DEFINE_FILTER_BELOW(PLXMediaItemFilter, nullptr)

void PLXMediaItemFilter::setEditing(bool editing) {
    own_.editing = editing;
    didChangeValueForKey("editing");
}

std::shared_ptr<const Predicate> PLXMediaItemFilter::predicateForKeyPath(
    std::string_view keyPath) const {
    return own_.cachedPredicates.predicate(keyPath,
                                           [&] { return makePredicateForKeyPath(keyPath); });
}

std::shared_ptr<const Predicate> PLXMediaItemFilter::predicateForKeyPathPrefix(
    const String& prefix) const {
    if (!keyPath()) return nullptr;
    if (!prefix) return predicateForKeyPath(keyPath());
    return predicateForKeyPath(prefix.str() + "." + keyPath().str());
}

std::shared_ptr<const Predicate> PLXMediaItemFilter::makePredicateForKeyPath(
    std::string_view) const {
    return nullptr;
}

const KeySet& PLXMediaItemFilter::keyPathsForValuesAffectingDisplayValue() {
    static const KeySet& keys = *new KeySet{"editing"};
    return keys;
}

NotificationCenter::Token PLXMediaItemFilter::addObserver(std::string_view key, Observer observer) {
    if (!own_.observers) own_.observers = std::make_shared<NotificationCenter>();
    return own_.observers->addObserver(
        std::string(key), nullptr, [told = std::move(observer)](const Notification& notification) {
            told(notification.name);
        });
}

void PLXMediaItemFilter::didChangeValueForKey(std::string_view key) {
    own_.cachedPredicates.clear();
    const auto observers = own_.observers;  // an observer may let go of the rule
    if (!observers) return;
    observers->post({.name = std::string(key)});
    if (keyPathsForValuesAffectingDisplayValue().contains(key))
        observers->post({.name = "displayValue"});
}

bool PLXMediaItemFilter::isEqualToFilter(const PLXMediaItemFilter* other) const {
    if (other == this) return true;
    if (!other || !other->filterClass().isSubclassOf(filterClass())) return false;
    const auto& properties = filterClass().properties();
    return std::all_of(properties.begin(), properties.end(), [&](const Property& property) {
        return property.value(*this) == property.value(*other);
    });
}

bool PLXMediaItemFilter::isEqual(const Object& other) const {
    return other.archiveClass().isSubclassOf(classObject()) &&
           isEqualToFilter(static_cast<const PLXMediaItemFilter*>(&other));
}

std::size_t PLXMediaItemFilter::hash() const {
    constexpr std::size_t factor = 31;
    std::size_t hash = 0;
    for (const Property& property : classObject().properties())
        hash = hash * factor + property.value(*this).hash();
    return hash;
}

void PLXMediaItemFilter::encodeWithCoder(KeyedArchiver& coder) const {
    for (const Property& property : filterClass().properties())
        if (property.encode) property.encode(*this, coder);
}

bool PLXMediaItemFilter::initWithCoder(KeyedUnarchiver& coder) {
    for (const Property& property : filterClass().properties())
        if (property.decode) property.decode(*this, coder);
    return true;
}

}  // namespace qsml
