#pragma once
#include "core/PLXDatabaseObject.h"

namespace qsml {

/// A record that can travel to and from the user's private cloud database: its record type and
/// name, the cloud keys of its properties, the values to send, and, where its class asks for it,
/// the values that an unsent change replaced and the keys that the user has ever set.
///
/// Threads as for PLXDatabaseObject. What is derived on first read is kept only in a record that
/// can still be changed; a frozen one derives it each time, so that threads can share it.
class QSML_EXPORT PLXCloudDatabaseObject : public PLXDatabaseObject {
public:
    static const RecordClass& classObject();

    const String& cloudType() const { return recordClass().cloudType(); }
    const KeyMapping& mappingsLocalKeyToCloudKey() const;
    const KeyMapping& mappingsCloudKeyToLocalKey() const;
    const KeySet& allCloudProperties() const { return recordClass().allCloudProperties(); }

    /// The name of the cloud record: type in lower case, a hyphen, the UUID.
    String cloudUUID();
    String cloudUUID() const;

    /// Nil for a key without a mapping.
    String cloudKeyForLocalKey(std::string_view localKey) const;
    String localKeyForCloudKey(std::string_view cloudKey) const;

    Value localValueForLocalKey(std::string_view localKey) const { return valueForKey(localKey); }
    Value localValueForCloudKey(std::string_view cloudKey) const;
    /// What is sent under that key; overridden where the cloud cannot hold the property's value.
    virtual Value cloudValueForCloudKey(std::string_view cloudKey) const;
    Value cloudValueForLocalKey(std::string_view localKey) const;
    /// Whether two values under that key say the same; overridden where one thing can be sent in
    /// several forms.
    virtual bool isEqualCloudValue(const Value& a, const Value& b, std::string_view cloudKey) const;
    /// The way back. True when done or when the key has no mapping; false when the record refuses.
    virtual bool setLocalValueFromCloudValue(const Value& value, std::string_view cloudKey);

    /// A 32-bit real is default when it is 0, any other number when its integer value is 0,
    /// anything else when it is nil. On purpose a 64-bit 0.7 is default. Pinned by
    /// GivenARecordOfEveryType.WhenA64BitRealIsBelowOneThenItCountsAsDefault.
    bool hasDefaultValueForCloudKey(std::string_view cloudKey) const;

    /// Nothing without changes; else the cloud keys of the changed properties, which may be none.
    std::optional<KeySet> changedCloudProperties() const;
    bool hasChangedCloudProperties() const;

    /// Per cloud key the value before its first change since the last clear; nothing if none was
    /// kept.
    std::optional<Dictionary> originalCloudValues() const;

    /// The cloud keys that the user has set; computed from the values that are not default until
    /// then.
    OrderedSet<String> userChangedCloudKeys();
    OrderedSet<String> userChangedCloudKeys() const;
    /// Not monitored. Nothing makes the next read compute them.
    void setUserChangedCloudKeys(std::optional<OrderedSet<String>> keys);

    void willChangeValueForMonitoredPropertyKey(std::string_view key) override;
    void clearChangedProperties() override;

protected:
    PLXCloudDatabaseObject() = default;
    PLXCloudDatabaseObject(const PLXCloudDatabaseObject& other);
    PLXCloudDatabaseObject& operator=(const PLXCloudDatabaseObject&) = delete;

private:
    struct Bookkeeping {
        std::optional<Dictionary> originalCloudValues;
        KeySet keysWithKeptOriginal;  // those whose original was nil included
        String cloudUUID;
        std::optional<OrderedSet<String>> userChangedCloudKeys;
    };
    static std::vector<Property> properties();
    const std::optional<OrderedSet<String>>* storedUserChangedCloudKeys() const;
    Bookkeeping& bookkeeping();
    void keepOriginalValue(const String& cloudKey);
    void addUserChangedCloudKey(const String& cloudKey);

    std::unique_ptr<Bookkeeping> bookkeeping_;  // most records of a library never need one
};

}  // namespace qsml
