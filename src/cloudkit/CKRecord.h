#pragma once
#include <map>
#include <set>
#include <span>

#include "cloudkit/CKRecordID.h"
#include "foundation/Value.h"

namespace qsml {

/// A record of the user's private cloud database: identity, type, the server's system fields and
/// values by key. A value: a copy has its values, its tag and its changed keys. Confined to one
/// thread at a time.
class QSML_EXPORT CKRecord {
public:
    /// What the server fills in.
    struct SystemFields {
        String recordChangeTag = {};  ///< nil until the server has stored the record; compare for
                                      ///< equality only
        std::optional<Date> creationDate = {};
        std::optional<Date> modificationDate = {};
        String creatorUserRecordName = {};
        String lastModifiedUserRecordName = {};

        friend bool operator==(const SystemFields&, const SystemFields&) = default;
    };

    /// Throws std::invalid_argument when type or record name are empty.
    CKRecord(String recordType, CKRecordID recordID);

    const String& recordType() const { return recordType_; }
    const CKRecordID& recordID() const { return recordID_; }
    const String& recordChangeTag() const { return system_.recordChangeTag; }
    const SystemFields& systemFields() const { return system_; }
    void setSystemFields(SystemFields fields) { system_ = std::move(fields); }

    /// In byte order.
    std::vector<String> allKeys() const;
    /// Nil where the key has no value.
    const Value& operator[](std::string_view key) const;
    /// Nil removes the key's value. Every assignment marks the key as changed. Dates become whole
    /// milliseconds, unsigned numbers at most 2^63 - 1. Throws std::invalid_argument for what the
    /// cloud cannot store: sets, dictionaries, objects, URLs, nulls, and lists that hold such or
    /// other lists.
    void setValue(std::string_view key, const Value& value);

    /// The keys assigned since the record was made, fetched or saved, in byte order.
    std::vector<String> changedKeys() const;
    bool hasChanged(std::string_view key) const { return changed_.contains(key); }
    void clearChangedKeys() { changed_.clear(); }

    /// A value as the cloud keeps it: what setValue stores. Compare local values in this form.
    static Value asStored(const Value& value);
    static bool canStore(const Value& value);

    /// Identity, type and system fields without any value, in a versioned form of our own; the
    /// changed fields put into a record read back are a valid partial update.
    std::vector<std::uint8_t> encodeSystemFields() const;
    /// Nothing for damaged bytes and unknown versions.
    static std::optional<CKRecord> recordWithSystemFields(std::span<const std::uint8_t> bytes);

private:
    struct ByBytes {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const { return a < b; }
    };
    String recordType_;
    CKRecordID recordID_;
    SystemFields system_;
    std::map<String, Value, ByBytes> values_;
    std::set<String, ByBytes> changed_;
};

}  // namespace qsml
