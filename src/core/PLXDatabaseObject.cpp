#include "core/PLXDatabaseObject.h"

#include "foundation/UUID.h"

namespace qsml {
namespace {

const PLXDatabaseObject& self(const Object& object) {
    return static_cast<const PLXDatabaseObject&>(object);
}

Value namesOf(const KeySet& keys) {
    return Value(ValueSet(std::vector<Value>(keys.begin(), keys.end())));
}

Property uuidProperty() {
    Property row{"uuid", "setUuid", "@"};
    row.value = [](const Object& o) { return Value(self(o).uuid()); };
    row.setValue = [](Object& o, const Value& value) {
        String uuid;
        if (!Boxing<String>::unbox(value, uuid)) return false;
        static_cast<PLXDatabaseObject&>(o).setUuid(std::move(uuid));
        return true;
    };
    row.encode = [](const Object& o, KeyedArchiver& c) { c.encodeString("uuid", self(o).uuid()); };
    row.decode = [](Object&, KeyedUnarchiver&) {};  // read by initWithCoder, which begins with it
    return row;
}

template <class Read>
Property computed(std::string_view name, Read) {
    Property row{name};
    row.value = [](const Object& o) { return Value(Read()(self(o))); };
    return row;
}

std::vector<Property> properties() {
    return {uuidProperty(),
            computed("monitoredProperties",
                     [](const PLXDatabaseObject& o) { return namesOf(o.monitoredProperties()); }),
            computed("immutable", [](const PLXDatabaseObject& o) { return o.isImmutable(); }),
            computed("changedProperties",
                     [](const PLXDatabaseObject& o) {
                         const auto changed = o.changedProperties();
                         return changed ? namesOf(*changed) : Value();
                     }),
            computed("hasChangedProperties",
                     [](const PLXDatabaseObject& o) { return o.hasChangedProperties(); })};
}

}  // namespace

const RecordClass& PLXDatabaseObject::classObject() {
    static const RecordClass& object = RecordClass::registered(
        *new RecordClass("PLXDatabaseObject", nullptr, nullptr, properties(),
                         {.endsMonitoring = true, .monitorsUUID = true}));
    return object;
}

PLXDatabaseObject::PLXDatabaseObject(const PLXDatabaseObject& other)
    : Object(other), uuid_(other.uuid_), tracking_(other.tracking_) {
    // A copy takes its UUID through the setter, as every record does.
    if (tracking_ & RecordClass::uuid) changed_ = std::make_unique<KeySet>(KeySet{"uuid"});
}

void PLXDatabaseObject::begin(String uuid) {
    // On purpose the UUID is set before the setters are wrapped: the first record of a class starts
    // without changed keys. Pinned by
    // GivenAClassWithoutInstances.WhenTheFirstIsMadeThenNothingIsChanged.
    tracking_ = recordClass().tracking();
    setUuid(std::move(uuid));
    tracking_ = recordClass().wrapMonitoredPropertySetters();
}

void PLXDatabaseObject::setUuid(String uuid) {
    const bool tracked = tracking_ & RecordClass::uuid;
    if (tracked) willChangeValueForMonitoredPropertyKey("uuid");
    uuid_ = std::move(uuid);
    if (tracked) didChangeValueForMonitoredPropertyKey("uuid");
}

void PLXDatabaseObject::makeImmutable() {
    if (!immutable_) immutable_ = true;
}

std::optional<KeySet> PLXDatabaseObject::changedProperties() {
    if (changed_ && !immutable_) *changed_ = changed_->intersection(monitoredProperties());
    return std::as_const(*this).changedProperties();
}

std::optional<KeySet> PLXDatabaseObject::changedProperties() const {
    if (!changed_) return std::nullopt;
    return changed_->intersection(monitoredProperties());
}

void PLXDatabaseObject::clearChangedProperties() {
    if (changed_) changed_.reset();
}

void PLXDatabaseObject::willChangeValueForMonitoredPropertyKey(std::string_view key) {
    if (immutable_) throw immutableExceptionForKey(key);
}

void PLXDatabaseObject::didChangeValueForMonitoredPropertyKey(std::string_view key) {
    if (!changed_) changed_ = std::make_unique<KeySet>();
    if (changed_->contains(key)) return;
    const String* shared = monitoredProperties().find(key);
    changed_->insert(shared ? *shared : String(key));
}

PLXDatabaseObjectException PLXDatabaseObject::immutableExceptionForKey(const String& key) const {
    std::string reason = "Attempting to mutate immutable object. Class = ";
    reason += recordClass().name();
    if (key) reason.append(", property = ").append(*key);
    return {std::move(reason),
            {{PLXDatabaseObjectException::recoverySuggestionKey,
              "To make modifications you should create a copy via [object copy]. You may then make "
              "changes to the copy before saving it back to the database."}}};
}

Value PLXDatabaseObject::valueForKey(std::string_view key) const {
    const Property* property = recordClass().propertyNamed(key);
    return property ? property->value(*this) : Value();
}

bool PLXDatabaseObject::setValueForKey(std::string_view key, const Value& value) {
    const Property* property = recordClass().propertyNamed(key);
    return property && property->setValue && property->setValue(*this, value);
}

bool PLXDatabaseObject::isEqualToDatabaseObject(const PLXDatabaseObject* other) const {
    if (other == this) return true;
    return other && other->recordClass().isSubclassOf(recordClass()) && uuid_ &&
           uuid_ == other->uuid_;
}

bool PLXDatabaseObject::isEqual(const Object& other) const {
    if (!other.archiveClass().isSubclassOf(classObject())) return false;
    return isEqualToDatabaseObject(static_cast<const PLXDatabaseObject*>(&other));
}

std::size_t PLXDatabaseObject::hash() const { return std::hash<String>()(uuid_); }

void PLXDatabaseObject::encodeWithCoder(KeyedArchiver& coder) const {
    recordClass().encode(*this, coder);
}

bool PLXDatabaseObject::initWithCoder(KeyedUnarchiver& coder) {
    begin(coder.decodeString("uuid"));
    recordClass().decode(*this, coder);
    return true;
}

}  // namespace qsml
