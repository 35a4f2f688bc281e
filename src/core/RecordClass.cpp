#include "core/RecordClass.h"

#include <algorithm>
#include <mutex>

#include "foundation/Log.h"

namespace qsml {
namespace {

// swizzledClasses: its members are the classes with countsAsWrapped_ set.
std::mutex& swizzledClasses() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

constexpr std::string_view notProperties[] = {"debugDescription", "description", "hash",
                                              "superclass"};

String cloudTypeOfClass(std::string_view name) {
    for (const std::string_view prefix : {"PLX", "PLK", "PLV", "PLY"})
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    return "CloudDatabaseObject";
}

// Object references, bools, integers of every width, both reals and C texts.
bool hasWrapper(std::string_view encoding) {
    return !encoding.empty() &&
           std::string_view("@BcCsSiIlLqQfd*").find(encoding.front()) != std::string_view::npos;
}

}  // namespace

std::string setterNameForProperty(std::string_view name) {
    std::string setter = "set" + std::string(name);
    if (setter.size() > 3 && setter[3] >= 'a' && setter[3] <= 'z')
        setter[3] = static_cast<char>(setter[3] - 'a' + 'A');
    return setter;
}

RecordClass::RecordClass(std::string_view name, const RecordClass* superclass, Allocate maker,
                         std::vector<Property> own, Policy policy)
    : ArchiveClass(name, superclass ? superclass : &Object::rootClass(), maker),
      super_(superclass),
      own_(std::move(own)),
      policy_(std::move(policy)),
      cloudType_(cloudTypeOfClass(name)) {
    inheritPolicy();
    indexByName();
    if (super_) archived_ = super_->archived_;
    for (const Property& property : own_)
        if (property.encode) archived_.push_back(property);
    collectMonitoredProperties();
    mapCloudKeys();
}

void RecordClass::inheritPolicy() {
    if (!super_) return;
    const Policy& above = super_->policy_;
    policy_.storesOriginalCloudValues |= above.storesOriginalCloudValues;
    policy_.trackUserChangedCloudKeys |= above.trackUserChangedCloudKeys;
    policy_.keysKeptLocal.insert(policy_.keysKeptLocal.end(), above.keysKeptLocal.begin(),
                                 above.keysKeptLocal.end());
    policy_.keysNotMonitored.insert(policy_.keysNotMonitored.end(), above.keysNotMonitored.begin(),
                                    above.keysNotMonitored.end());
}

void RecordClass::collectMonitoredProperties() {
    const RecordClass* stop = this;
    while (stop->super_ && !stop->policy_.endsMonitoring) stop = stop->super_;
    monitored_ = monitoredProperties(*stop);
    for (const std::string_view name : policy_.keysNotMonitored) monitored_.erase(name);
    if (stop->policy_.monitorsUUID) monitored_.insert("uuid");
}

void RecordClass::mapCloudKeys() {
    std::vector<std::pair<String, String>> pairs;
    std::vector<String> cloudKeys;
    for (const String& name : monitored_) {
        const auto& keptLocal = policy_.keysKeptLocal;
        if (std::find(keptLocal.begin(), keptLocal.end(), name.view()) != keptLocal.end()) continue;
        pairs.emplace_back(name, name);
        cloudKeys.push_back(name);
    }
    localToCloud_ = KeyMapping(pairs);
    cloudToLocal_ = localToCloud_.inverse();
    cloudKeys_ = KeySet(std::move(cloudKeys));
}

KeySet RecordClass::monitoredProperties(const ArchiveClass& stopClass) const {
    std::vector<String> names;
    for (const RecordClass* c = this; c && c != &stopClass; c = c->super_)
        for (const Property& property : c->own_) names.emplace_back(property.name);
    KeySet collected(std::move(names));
    for (const std::string_view name : notProperties) collected.erase(name);
    return collected;
}

const Property* RecordClass::propertyNamed(std::string_view name) const {
    const auto found = std::lower_bound(
        byName_.begin(), byName_.end(), name,
        [](const Property* property, std::string_view key) { return property->name < key; });
    return found != byName_.end() && (*found)->name == name ? *found : nullptr;
}

void RecordClass::indexByName() {
    if (super_) byName_ = super_->byName_;
    for (const Property& property : own_) {
        const auto place = std::lower_bound(
            byName_.begin(), byName_.end(), property.name,
            [](const Property* other, std::string_view key) { return other->name < key; });
        if (place != byName_.end() && (*place)->name == property.name)
            *place = &property;
        else
            byName_.insert(place, &property);
    }
}

void RecordClass::encode(const Object& record, KeyedArchiver& coder) const {
    for (const Property& property : archived_) property.encode(record, coder);
}

void RecordClass::decode(Object& record, KeyedUnarchiver& coder) const {
    for (const Property& property : archived_) property.decode(record, coder);
}

std::uint8_t RecordClass::tracking() const {
    const std::uint8_t state = tracking_.load(std::memory_order_acquire);
    if (state & resolved) return state;
    const std::lock_guard hold(swizzledClasses());
    const RecordClass* root = this;
    while (root->super_) root = root->super_;
    return isGuardedByLock(*root, "uuid") ? std::uint8_t{uuid} : std::uint8_t{0};
}

std::uint8_t RecordClass::wrapMonitoredPropertySetters() const {
    const std::uint8_t state = tracking_.load(std::memory_order_acquire);
    if (state & resolved) return state;
    std::vector<Unsupported> unsupported;
    std::uint8_t final = 0;
    {
        const std::lock_guard hold(swizzledClasses());
        if (!countsAsWrapped_) wrapOwnSetters(unsupported);
        final = resolveByLock();
    }
    logUnsupported(unsupported);
    return final;
}

// The wrappers are installed on this class alone, also those of inherited setters; but every class
// on the way up counts as wrapped from now on. On purpose: a superclass whose first instance comes
// after one of a subclass is never wrapped itself. Pinned by
// GivenASubclassWasMadeFirst.WhenItsSuperclassIsMadeThenItIsNotGuarded.
void RecordClass::wrapOwnSetters(std::vector<Unsupported>& unsupported) const {
    for (const RecordClass* c = this; c; c = c->super_) {
        for (const Property& property : c->own_) {
            const std::string setter = setterNameForProperty(property.name);
            if (!monitored_.contains(property.name) || property.setterName != setter) continue;
            if (hasWrapper(property.encoding))
                wrapped_.insert(property.name);
            else
                unsupported.push_back({property.encoding, setter});
        }
        c->countsAsWrapped_ = true;
    }
}

// A setter runs guarded when a wrapper stands anywhere between the instance's class and the class
// that declares the property: an inherited one acts as well.
bool RecordClass::isGuardedByLock(const RecordClass& declarer, std::string_view name) const {
    for (const RecordClass* c = this; c; c = c->super_) {
        if (c->wrapped_.contains(name)) return true;
        if (c == &declarer) return false;
    }
    return false;
}

// From here on every class above counts as wrapped, so that nothing can change this state any more.
std::uint8_t RecordClass::resolveByLock() const {
    if (const std::uint8_t state = tracking_.load(std::memory_order_relaxed); state & resolved)
        return state;
    std::uint8_t state = resolved;
    bool all = true;
    for (const RecordClass* c = this; c; c = c->super_) {
        for (const Property& property : c->own_) {
            if (property.setterName.empty()) continue;
            const bool guarded = isGuardedByLock(*c, property.name);
            if (property.name == "uuid") {
                if (guarded) state |= uuid;
            } else if (guarded) {
                guarded_.insert(property.name);
            } else {
                all = false;
            }
        }
    }
    if (!guarded_.empty()) state |= all ? std::uint8_t{allOthers} : std::uint8_t{someOthers};
    tracking_.store(state, std::memory_order_release);
    return state;
}

void RecordClass::logUnsupported(const std::vector<Unsupported>& unsupported) const {
    for (const auto& [encoding, setterName] : unsupported)
        log("+[PLXDatabaseObject swizzleMonitoredPropertySetters:]", 302,
            "Unsupported argument type " + std::string(encoding) + " for [" + std::string(name()) +
                " " + setterName + ":]");
}

}  // namespace qsml
