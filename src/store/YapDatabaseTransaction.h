#pragma once
#include <any>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Error.h"
#include "foundation/Object.h"
#include "foundation/Value.h"

namespace qsml {

class YapDatabaseConnection;
class YapDatabaseExtensionTransaction;
namespace detail {
class ConnectionCore;
}

/// Reads of one snapshot. Valid only inside its block, on the block's thread; never stored.
///
/// Keys and collections are UTF-8; a null collection (a view without data, a nil String) means the
/// collection "", a null key names no row. Rows whose stored bytes are damaged read as absent.
class QSML_EXPORT YapDatabaseReadTransaction {
public:
    using KeyBlock = std::function<void(std::string_view key, bool& stop)>;
    using ObjectBlock = std::function<void(std::string_view key, const Value& object, bool& stop)>;
    using RowBlock = std::function<void(std::string_view key, const Value& object,
                                        const Value& metadata, bool& stop)>;
    using KeyFilter = std::function<bool(std::string_view key)>;
    using CollectionBlock = std::function<void(std::string_view collection, bool& stop)>;
    using CollectionKeyBlock =
        std::function<void(std::string_view collection, std::string_view key, bool& stop)>;
    using CollectionObjectBlock = std::function<void(
        std::string_view collection, std::string_view key, const Value& object, bool& stop)>;
    using IndexedObjectBlock =
        std::function<void(std::size_t index, const Value& object, bool& stop)>;

    YapDatabaseReadTransaction(const YapDatabaseReadTransaction&) = delete;
    YapDatabaseReadTransaction& operator=(const YapDatabaseReadTransaction&) = delete;

    const std::shared_ptr<YapDatabaseConnection>& connection() const;
    /// The snapshot that is read; in a read-write transaction the one that it builds on.
    std::uint64_t snapshot() const;
    /// The first read error of this transaction (I/O, damage of the file); false when there was
    /// none.
    const Error& error() const;

    std::uint64_t numberOfCollections() const;
    std::uint64_t numberOfKeysInCollection(std::string_view collection) const;
    std::uint64_t numberOfKeysInAllCollections() const;
    std::vector<String> allCollections() const;
    std::vector<String> allKeysInCollection(std::string_view collection) const;

    /// True also for a row that does not decode.
    bool hasObjectForKey(std::string_view key, std::string_view collection) const;
    /// Nil when absent. O(1) from the cache, O(log n) otherwise.
    Value objectForKey(std::string_view key, std::string_view collection) const;
    Value metadataForKey(std::string_view key, std::string_view collection) const;
    /// False when the row is absent; the out-parameters may be null.
    bool getObjectAndMetadata(Value* object, Value* metadata, std::string_view key,
                              std::string_view collection) const;
    /// The object as an instance of T; null when absent or of another class.
    template <class T>
    std::shared_ptr<const T> object(std::string_view key, std::string_view collection) const {
        return std::dynamic_pointer_cast<const T>(objectForKey(key, collection).object());
    }

    // Enumerations are in no stated order and end when `stop` is set. Touching rows inside is
    // allowed, other writes throw YapDatabaseException. Memory use is constant. Object forms skip
    // rows that do not decode; key forms list them.
    void enumerateCollections(const CollectionBlock& block) const;
    void enumerateKeysInCollection(std::string_view collection, const KeyBlock& block) const;
    void enumerateKeysInAllCollections(const CollectionKeyBlock& block) const;
    void enumerateKeysAndObjectsInCollection(std::string_view collection, const ObjectBlock& block,
                                             const KeyFilter& filter = {}) const;
    void enumerateKeysAndObjectsInAllCollections(const CollectionObjectBlock& block) const;
    void enumerateRowsInCollection(std::string_view collection, const RowBlock& block,
                                   const KeyFilter& filter = {}) const;
    /// The block runs once per requested key with its index; a missing row gives nil.
    void enumerateObjectsForKeys(const std::vector<String>& keys, std::string_view collection,
                                 const IndexedObjectBlock& block) const;

    /// The extension's transaction; null when no extension of that name belongs to this snapshot.
    YapDatabaseExtensionTransaction* ext(std::string_view name);
    template <class T>
    T* ext(std::string_view name) {
        return dynamic_cast<T*>(ext(name));
    }

protected:
    friend class detail::ConnectionCore;
    explicit YapDatabaseReadTransaction(detail::ConnectionCore& core) : core_(core) {}
    ~YapDatabaseReadTransaction() = default;
    detail::ConnectionCore& core_;
};

/// Reads and writes that become one commit, or nothing. Writes answer false when they could not be
/// done (serialisation, I/O); after an I/O failure the whole transaction ends rolled back and says
/// so.
class QSML_EXPORT YapDatabaseReadWriteTransaction : public YapDatabaseReadTransaction {
public:
    /// Inserts or updates; metadata becomes nil unless given. A nil object removes the row. A null
    /// key does nothing.
    bool setObject(Value object, std::string_view key, std::string_view collection);
    bool setObject(Value object, std::string_view key, std::string_view collection, Value metadata);
    /// Only when the row exists; the other half stays. replaceObject with nil removes the row.
    bool replaceObject(Value object, std::string_view key, std::string_view collection);
    bool replaceMetadata(Value metadata, std::string_view key, std::string_view collection);
    template <class T>
    bool setObject(const std::shared_ptr<T>& object, std::string_view key,
                   std::string_view collection) {
        return setObject(Value(std::shared_ptr<const Object>(object)), key, collection);
    }
    template <class T>
    bool replaceObject(const std::shared_ptr<T>& object, std::string_view key,
                       std::string_view collection) {
        return replaceObject(Value(std::shared_ptr<const Object>(object)), key, collection);
    }

    /// Tells extensions and observers that the row changed, without writing it. Absent rows:
    /// nothing.
    void touchObjectForKey(std::string_view key, std::string_view collection);
    void touchMetadataForKey(std::string_view key, std::string_view collection);
    void touchRowForKey(std::string_view key, std::string_view collection);

    bool removeObjectForKey(std::string_view key, std::string_view collection);
    bool removeObjectsForKeys(const std::vector<String>& keys, std::string_view collection);
    bool removeAllObjectsInCollection(std::string_view collection);
    bool removeAllObjectsInAllCollections();

    /// Discards all writes of the block, those before and those after this call.
    void rollback();
    /// Carried by the modified notification.
    void setYapDatabaseModifiedNotificationCustomObject(std::any object);

private:
    friend class detail::ConnectionCore;
    using YapDatabaseReadTransaction::YapDatabaseReadTransaction;
};

}  // namespace qsml
