#include "core/PLXCloudDatabaseObject.h"

#include "foundation/text.h"

namespace qsml {
namespace {

const PLXCloudDatabaseObject& self(const Object& object) {
    return static_cast<const PLXCloudDatabaseObject&>(object);
}

Value valueOf(const OrderedSet<String>& texts) {
    return Value(ValueSet(std::vector<Value>(texts.begin(), texts.end())));
}

template <class Read>
Property computed(std::string_view name, Read) {
    Property row{name};
    row.value = [](const Object& o) { return Value(Read()(self(o))); };
    return row;
}

}  // namespace

// Archived between the base's key and the subclasses' own, and only by classes that track the keys.
std::vector<Property> PLXCloudDatabaseObject::properties() {
    Property keys{"userChangedCloudKeys"};
    keys.value = [](const Object& o) { return valueOf(self(o).userChangedCloudKeys()); };
    keys.setValue = [](Object& o, const Value& value) {
        std::optional<OrderedSet<String>> texts;
        if (!Boxing<std::optional<OrderedSet<String>>>::unbox(value, texts)) return false;
        static_cast<PLXCloudDatabaseObject&>(o).setUserChangedCloudKeys(std::move(texts));
        return true;
    };
    keys.encode = [](const Object& o, KeyedArchiver& coder) {
        if (!self(o).recordClass().trackUserChangedCloudKeys()) return;
        const auto* stored = self(o).storedUserChangedCloudKeys();
        coder.encodeSet("userChangedCloudKeys", stored ? *stored : std::nullopt);
    };
    keys.decode = [](Object& o, KeyedUnarchiver& coder) {
        if (!self(o).recordClass().trackUserChangedCloudKeys()) return;
        auto stored = coder.decodeStrings("userChangedCloudKeys");
        if (!stored) return;
        static_cast<PLXCloudDatabaseObject&>(o).setUserChangedCloudKeys(std::move(stored));
    };
    using Record = PLXCloudDatabaseObject;
    return {
        keys, computed("cloudUUID", [](const Record& o) { return o.cloudUUID(); }),
        computed("cloudType", [](const Record& o) { return o.cloudType(); }),
        computed("originalCloudValues", [](const Record& o) { return o.originalCloudValues(); })};
}

const RecordClass& PLXCloudDatabaseObject::classObject() {
    static const RecordClass& object = RecordClass::registered(*new RecordClass(
        "PLXCloudDatabaseObject", &PLXDatabaseObject::classObject(), nullptr, properties(),
        {.keysNotMonitored = {"cloudUUID", "userChangedCloudKeys"}, .endsMonitoring = true}));
    return object;
}

PLXCloudDatabaseObject::PLXCloudDatabaseObject(const PLXCloudDatabaseObject& other)
    : PLXDatabaseObject(other) {
    const Bookkeeping* theirs = other.bookkeeping_.get();
    if (!theirs || (!theirs->originalCloudValues && !theirs->userChangedCloudKeys)) return;
    bookkeeping().originalCloudValues = theirs->originalCloudValues;
    bookkeeping().keysWithKeptOriginal = theirs->keysWithKeptOriginal;
    bookkeeping().userChangedCloudKeys = theirs->userChangedCloudKeys;
}

const KeyMapping& PLXCloudDatabaseObject::mappingsLocalKeyToCloudKey() const {
    return recordClass().mappingsLocalKeyToCloudKey();
}

const KeyMapping& PLXCloudDatabaseObject::mappingsCloudKeyToLocalKey() const {
    return recordClass().mappingsCloudKeyToLocalKey();
}

String PLXCloudDatabaseObject::cloudUUID() {
    String name = std::as_const(*this).cloudUUID();
    if (!isImmutable()) bookkeeping().cloudUUID = name;
    return name;
}

String PLXCloudDatabaseObject::cloudUUID() const {
    if (bookkeeping_ && bookkeeping_->cloudUUID) return bookkeeping_->cloudUUID;
    return lowercased(cloudType()).str() + "-" + std::string(uuid().value_or("(null)"));
}

String PLXCloudDatabaseObject::cloudKeyForLocalKey(std::string_view localKey) const {
    return mappingsLocalKeyToCloudKey()[localKey];
}

String PLXCloudDatabaseObject::localKeyForCloudKey(std::string_view cloudKey) const {
    return mappingsCloudKeyToLocalKey()[cloudKey];
}

Value PLXCloudDatabaseObject::localValueForCloudKey(std::string_view cloudKey) const {
    const String localKey = localKeyForCloudKey(cloudKey);
    return localKey ? localValueForLocalKey(localKey) : Value();
}

Value PLXCloudDatabaseObject::cloudValueForCloudKey(std::string_view cloudKey) const {
    return localValueForCloudKey(cloudKey);
}

bool PLXCloudDatabaseObject::isEqualCloudValue(const Value& a, const Value& b,
                                               std::string_view) const {
    return a == b;
}

Value PLXCloudDatabaseObject::cloudValueForLocalKey(std::string_view localKey) const {
    const String cloudKey = cloudKeyForLocalKey(localKey);
    return cloudKey ? cloudValueForCloudKey(cloudKey) : Value();
}

bool PLXCloudDatabaseObject::setLocalValueFromCloudValue(const Value& value,
                                                         std::string_view cloudKey) {
    const String localKey = localKeyForCloudKey(cloudKey);
    return !localKey || setValueForKey(localKey, value);
}

bool PLXCloudDatabaseObject::hasDefaultValueForCloudKey(std::string_view cloudKey) const {
    const String localKey = localKeyForCloudKey(cloudKey);
    if (!localKey) return false;
    const Value value = valueForKey(localKey);
    if (value.kind() == Value::Kind::real32) return value.floatValue() == 0.0F;
    return value.isNumber() ? value.integerValue() == 0 : value.isNil();
}

std::optional<KeySet> PLXCloudDatabaseObject::changedCloudProperties() const {
    const auto changed = changedProperties();
    if (!changed) return std::nullopt;
    std::vector<String> cloudKeys;
    for (const String& localKey : *changed)
        if (String cloudKey = cloudKeyForLocalKey(localKey)) cloudKeys.push_back(cloudKey);
    return KeySet(std::move(cloudKeys));
}

bool PLXCloudDatabaseObject::hasChangedCloudProperties() const {
    const auto changed = changedCloudProperties();
    return changed && !changed->empty();
}

std::optional<Dictionary> PLXCloudDatabaseObject::originalCloudValues() const {
    return bookkeeping_ ? bookkeeping_->originalCloudValues : std::nullopt;
}

OrderedSet<String> PLXCloudDatabaseObject::userChangedCloudKeys() {
    auto keys = std::as_const(*this).userChangedCloudKeys();
    if (!isImmutable() && !storedUserChangedCloudKeys()) setUserChangedCloudKeys(keys);
    return keys;
}

OrderedSet<String> PLXCloudDatabaseObject::userChangedCloudKeys() const {
    if (const auto* stored = storedUserChangedCloudKeys()) return **stored;
    std::vector<String> set;
    for (const String& cloudKey : allCloudProperties())
        if (!hasDefaultValueForCloudKey(cloudKey)) set.push_back(cloudKey);
    return OrderedSet<String>(std::move(set));
}

void PLXCloudDatabaseObject::setUserChangedCloudKeys(std::optional<OrderedSet<String>> keys) {
    bookkeeping().userChangedCloudKeys = std::move(keys);
}

void PLXCloudDatabaseObject::willChangeValueForMonitoredPropertyKey(std::string_view key) {
    PLXDatabaseObject::willChangeValueForMonitoredPropertyKey(key);
    const RecordClass& record = recordClass();
    if (!record.storesOriginalCloudValues() && !record.trackUserChangedCloudKeys()) return;
    const String cloudKey = cloudKeyForLocalKey(key);
    if (!cloudKey) return;
    if (record.storesOriginalCloudValues()) keepOriginalValue(cloudKey);
    if (record.trackUserChangedCloudKeys()) addUserChangedCloudKey(cloudKey);
}

void PLXCloudDatabaseObject::clearChangedProperties() {
    PLXDatabaseObject::clearChangedProperties();
    if (!bookkeeping_ || !bookkeeping_->originalCloudValues) return;
    if (bookkeeping_->keysWithKeptOriginal.empty()) return;
    bookkeeping_->originalCloudValues = Dictionary();
    bookkeeping_->keysWithKeptOriginal = KeySet();
}

// The stored set, null while it has not been computed.
const std::optional<OrderedSet<String>>* PLXCloudDatabaseObject::storedUserChangedCloudKeys()
    const {
    if (!bookkeeping_ || !bookkeeping_->userChangedCloudKeys) return nullptr;
    return &bookkeeping_->userChangedCloudKeys;
}

PLXCloudDatabaseObject::Bookkeeping& PLXCloudDatabaseObject::bookkeeping() {
    if (!bookkeeping_) bookkeeping_ = std::make_unique<Bookkeeping>();
    return *bookkeeping_;
}

// Only the first change counts, also when the value before it was nil and leaves no entry: with a
// later base an untouched remote value would look changed and win over the user's edit.
void PLXCloudDatabaseObject::keepOriginalValue(const String& cloudKey) {
    auto& originals = bookkeeping().originalCloudValues;
    if (!originals) originals.emplace();
    if (!bookkeeping().keysWithKeptOriginal.insert(cloudKey)) return;
    if (Value value = cloudValueForCloudKey(cloudKey); !value.isNil())
        originals->set(cloudKey, std::move(value));
}

void PLXCloudDatabaseObject::addUserChangedCloudKey(const String& cloudKey) {
    const OrderedSet<String> keys = userChangedCloudKeys();
    if (keys.contains(cloudKey)) return;
    std::vector<String> grown = keys.elements();
    grown.push_back(cloudKey);
    setUserChangedCloudKeys(OrderedSet<String>(std::move(grown)));
}

}  // namespace qsml
