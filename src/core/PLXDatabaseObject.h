#pragma once
#include <type_traits>

#include "core/PLXDatabaseObjectException.h"
#include "core/RecordClass.h"
#include "core/RecordKey.h"
#include "core/recordMacros.h"
#include "foundation/Object.h"
#include "foundation/UUID.h"

namespace qsml {

/// The base of every stored record: an identity, immutability after load or save, and the set of
/// keys that setters have changed. A record that is frozen refuses every monitored setter; to
/// change it, copy it, change the copy and save the copy.
///
/// Confined to one thread at a time until frozen; then shared: every const operation may be called
/// from any thread. The operations of the write (makeImmutable, clearChangedProperties) write
/// nothing to a record that they have already been applied to.
class QSML_EXPORT PLXDatabaseObject : public Object {
public:
    static const RecordClass& classObject();
    virtual const RecordClass& recordClass() const = 0;
    const ArchiveClass& archiveClass() const final { return recordClass(); }

    /// The database key; the sole basis of equality.
    const String& uuid() const { return uuid_; }
    void setUuid(String uuid);

    bool isImmutable() const { return immutable_; }
    void makeImmutable();

    /// Nothing when no key has been recorded since creation or since clearChangedProperties.
    /// Recorded names that are not monitored are left out, and forgotten unless the record is
    /// frozen.
    std::optional<KeySet> changedProperties();
    std::optional<KeySet> changedProperties() const;
    bool hasChangedProperties() const { return changed_ && !changed_->empty(); }
    virtual void clearChangedProperties();

    const KeySet& monitoredProperties() const { return recordClass().monitoredProperties(); }

    /// Run by every monitored setter before and after the assignment. The first throws when the
    /// record is frozen; overrides call the base first.
    virtual void willChangeValueForMonitoredPropertyKey(std::string_view key);
    virtual void didChangeValueForMonitoredPropertyKey(std::string_view key);

    /// What a forbidden change of that property throws; nil names no property.
    PLXDatabaseObjectException immutableExceptionForKey(const String& key) const;

    /// The value under a property's name; nil for a name that is no property.
    Value valueForKey(std::string_view key) const;
    /// Through the monitored setter. False, and nothing changed, when there is no such settable
    /// property or it cannot hold the value; throws when the record is frozen.
    bool setValueForKey(std::string_view key, const Value& value);

    /// Whether the other is of this record's class or a subclass of it and has the same UUID. On
    /// purpose not symmetric. Pinned by
    /// GivenARecordAndOneOfASubclass.WhenComparedThenEqualOneWayOnly.
    bool isEqualToDatabaseObject(const PLXDatabaseObject* other) const;
    bool isEqual(const Object& other) const override;
    std::size_t hash() const override;

    /// The rows of the table, superclass first; classes that add to it call this first.
    void encodeWithCoder(KeyedArchiver& coder) const override;
    bool initWithCoder(KeyedUnarchiver& coder) override;

protected:
    PLXDatabaseObject() = default;
    /// A mutable record with the same identity, fields copied past the setters.
    PLXDatabaseObject(const PLXDatabaseObject& other);
    PLXDatabaseObject& operator=(const PLXDatabaseObject&) = delete;

    /// The second half of every initialisation: sets the UUID through its setter, then wraps the
    /// setters.
    void begin(String uuid);

    /// The common setter of every line.
    template <class T>
    void assign(std::string_view key, T& field, std::type_identity_t<T>&& value) {
        if (!isTracked(key)) {
            field = std::move(value);
            return;
        }
        willChangeValueForMonitoredPropertyKey(key);
        field = std::move(value);
        didChangeValueForMonitoredPropertyKey(key);
    }

private:
    bool isTracked(std::string_view key) const {
        if (tracking_ & RecordClass::allOthers) return true;
        return (tracking_ & RecordClass::someOthers) && recordClass().tracks(key);
    }

    String uuid_;
    std::unique_ptr<KeySet> changed_;
    bool immutable_ = false;
    // The class's state of wrapping, final from its first instance on: kept here so that a setter
    // reads no shared memory.
    std::uint8_t tracking_ = 0;
};

}  // namespace qsml
