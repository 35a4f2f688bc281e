#pragma once
#include <atomic>

#include "core/KeyMapping.h"
#include "core/KeySet.h"
#include "core/PropertyTable.h"

namespace qsml {

/// The class object of a record class: its table of properties and everything that is asked of the
/// class and not of an instance. Made once, never destroyed. Thread-safe: immutable but for the
/// wrapping of its setters, which a process-wide lock guards.
class QSML_EXPORT RecordClass : public ArchiveClass {
public:
    /// What a class says about itself beside its lines. Subclasses inherit it: switches stay on,
    /// lists add up. The root switches count for the class itself alone.
    struct Policy {
        bool storesOriginalCloudValues = false;
        bool trackUserChangedCloudKeys = false;
        std::vector<std::string_view> keysKeptLocal = {};     ///< left out of the cloud mapping
        std::vector<std::string_view> keysNotMonitored = {};  ///< left out of the monitored set
        bool endsMonitoring = false;  ///< this class's own properties and those above do not count
        bool monitorsUUID = false;    ///< classes whose collection ends here monitor "uuid"
    };

    /// `superclass` is null at the root of the records, whose superclass in archives is NSObject.
    RecordClass(std::string_view name, const RecordClass* superclass, Allocate maker,
                std::vector<Property> own, Policy policy);

    /// Makes the class known to decoding and answers it.
    static const RecordClass& registered(const RecordClass& recordClass) {
        registerClass(recordClass);
        return recordClass;
    }

    /// Null at the root of the records.
    const RecordClass* recordSuperclass() const { return super_; }
    const std::vector<Property>& ownProperties() const { return own_; }
    const Policy& policy() const { return policy_; }
    /// Searches the superclasses too, nearest first; null for a name that no class declares.
    const Property* propertyNamed(std::string_view name) const;

    // The class operations.

    /// The names whose setters are guarded and recorded.
    const KeySet& monitoredProperties() const { return monitored_; }
    /// The names that this class and its superclasses declare, up to the stop class and without it.
    KeySet monitoredProperties(const ArchiveClass& stopClass) const;
    /// Observers of "immutable" are told when any of these changes.
    const KeySet& keyPathsForValuesAffectingImmutable() const { return monitored_; }
    static constexpr bool supportsSecureCoding() { return true; }

    const String& cloudType() const { return cloudType_; }
    bool storesOriginalCloudValues() const { return policy_.storesOriginalCloudValues; }
    bool trackUserChangedCloudKeys() const { return policy_.trackUserChangedCloudKeys; }
    const KeyMapping& mappingsLocalKeyToCloudKey() const { return localToCloud_; }
    const KeyMapping& mappingsCloudKeyToLocalKey() const { return cloudToLocal_; }
    const KeySet& allCloudProperties() const { return cloudKeys_; }

    // The archive: superclass first, then in the order of the lines.

    void encode(const Object& record, KeyedArchiver& coder) const;
    void decode(Object& record, KeyedUnarchiver& coder) const;

    // The wrapping of setters (swizzleMonitoredPropertySetters).

    /// Which setters of an instance are guarded; fixed once the class has had its first instance.
    enum Tracking : std::uint8_t {
        resolved = 1,    ///< the class has had its first instance
        uuid = 2,        ///< setUuid is guarded
        allOthers = 4,   ///< every other setter is
        someOthers = 8,  ///< those that tracks() names
    };
    /// The state without wrapping anything: before its first instance, what superclasses lend.
    std::uint8_t tracking() const;
    /// Wraps the setters of this class with the lock held, unless it counts as wrapped already,
    /// logs those that cannot be, and answers the state, which is final.
    std::uint8_t wrapMonitoredPropertySetters() const;
    /// For someOthers: whether the setter of that property is guarded.
    bool tracks(std::string_view name) const { return guarded_.contains(name); }

private:
    struct Unsupported {
        std::string_view encoding;
        std::string setterName;
    };
    void inheritPolicy();
    void indexByName();
    void collectMonitoredProperties();
    void mapCloudKeys();
    void wrapOwnSetters(std::vector<Unsupported>& unsupported) const;
    bool isGuardedByLock(const RecordClass& declarer, std::string_view name) const;
    std::uint8_t resolveByLock() const;
    void logUnsupported(const std::vector<Unsupported>& unsupported) const;

    const RecordClass* super_;
    std::vector<Property> own_;
    Policy policy_;
    std::vector<const Property*> byName_;  // the nearest declaration of each name
    std::vector<Property> archived_;       // superclass first
    KeySet monitored_;
    String cloudType_;
    KeyMapping localToCloud_;
    KeyMapping cloudToLocal_;
    KeySet cloudKeys_;

    mutable std::atomic<std::uint8_t> tracking_{0};
    mutable bool countsAsWrapped_ = false;  // a member of swizzledClasses; by the lock
    mutable KeySet wrapped_;  // wrappers in this class's own method table; by the lock
    mutable KeySet guarded_;  // written once before tracking_ says resolved
};

/// "set", the first character in upper case, the rest as it is.
QSML_EXPORT std::string setterNameForProperty(std::string_view name);

}  // namespace qsml
