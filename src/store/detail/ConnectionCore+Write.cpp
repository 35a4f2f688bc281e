// Writing rows. The order inside one write: pre-sanitiser, serialiser, row, extensions,
// post-sanitiser.
#include <sqlite3.h>

#include "foundation/Log.h"
#include "store/YapDatabaseException.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/PackedKey.h"
#include "store/detail/checksum.h"

namespace qsml::detail {

namespace {

constexpr std::size_t headroom = 64 * 1024;  // below SQLite's limit, for the rest of a record

/// SQLite stores a row whole: what is larger than its limit is refused before it gets there.
bool fitsLimit(std::size_t data, std::size_t metadata, std::size_t key) {
    return key <= lengthLimit / 4 && data <= lengthLimit && metadata <= lengthLimit &&
           data + metadata + key + headroom <= lengthLimit;
}

Value sanitized(const YapDatabaseObjectCallbacks& callbacks, std::string_view collection,
                std::string_view key, Value value) {
    if (value.isNil() || !callbacks.preSanitizer) return value;
    return callbacks.preSanitizer(collection, key, std::move(value));
}

void bindOptional(Query& query, int index, const std::optional<Bytes>& bytes) {
    if (bytes)
        query.bindBlob(index, *bytes);
    else
        query.bindNull(index);
}

}  // namespace

struct ConnectionCore::Serialized {
    std::optional<Bytes> data;
    std::optional<Bytes> metadata;
};

void ConnectionCore::refuseDuringEnumeration() const {
    if (active_->enumerations > 0)
        throw YapDatabaseException(
            "A row was written during an enumeration of the same transaction. Collect the keys and "
            "write after it; touching rows is allowed.");
}

/// The collection, made when it is new. Null, with the transaction failed, when that cannot be
/// done.
const Collection* ConnectionCore::collectionForWriting(std::string_view name) {
    if (!name.data()) name = "";
    if (const Collection* known = collection(name)) return known;
    Query query(statements_.insertCollection, handle_.get());
    query.bindText(1, name);
    if (!query.run()) {
        failWith("written");
        return nullptr;
    }
    const std::int64_t id = sqlite3_last_insert_rowid(handle_.get());
    if (id > lastCollectionNumber) {
        fail(fileError(SQLITE_FULL, handle_.path(), "written", "it has too many collections"));
        return nullptr;
    }
    active_->newCollections.push_back(std::make_unique<const Collection>(id, name));
    return active_->newCollections.back().get();
}

bool ConnectionCore::serialize(Serialized* result, const Value& object, const Value& metadata,
                               std::string_view key, std::string_view collection) {
    Error error;
    const auto& objects = database_.objectCallbacks();
    const auto& metadatas = database_.metadataCallbacks();
    if (!object.isNil())
        result->data =
            objects.serializer ? objects.serializer(collection, key, object, &error) : Bytes();
    if (!error && !metadata.isNil() && metadatas.serializer) {
        if (result->data) {  // the next call may take the bytes away
            serializedObject_.assign(result->data->begin(), result->data->end());
            result->data = Bytes(serializedObject_);
        }
        result->metadata = metadatas.serializer(collection, key, metadata, &error);
    }
    const std::size_t dataSize = result->data ? result->data->size() : 0;
    const std::size_t metadataSize = result->metadata ? result->metadata->size() : 0;
    if (!error && !fitsLimit(dataSize, metadataSize, key.size()))
        error = fileError(YapDatabaseErrorCode::cannotSerialize, handle_.path(), "written",
                          "the object is too large");
    if (!error) return true;
    log("Warning: an object of the collection \"" + std::string(collection) + "\" (" +
        std::string(key) + ") cannot be stored: " + error.description);
    if (!active_->error) active_->error = std::move(error);
    return false;
}

bool ConnectionCore::insertRow(const Collection& collection, std::string_view key,
                               const Serialized& bytes, std::int64_t* rowid) {
    if (active_->state.lastRowNumber >= lastRowNumber)
        return fail(
            fileError(SQLITE_FULL, handle_.path(), "written", "it has no row numbers left"));
    *rowid = firstRowid(collection.id) | ++active_->state.lastRowNumber;
    const PackedKey packed(key);
    Query query(statements_.insertRow, handle_.get());
    query.bind(1, *rowid).bind(2, collection.id);
    packed.bindTo(query, 3);
    bindOptional(query, 4, bytes.data);
    bindOptional(query, 5, bytes.metadata);
    query.bind(6, rowChecksum(collection.seed, packed, bytes.data, bytes.metadata));
    return query.run() || failWith("written");
}

bool ConnectionCore::updateRow(std::int64_t rowid, const Collection& collection,
                               std::string_view key, const Serialized& bytes) {
    Query query(statements_.updateRow, handle_.get());
    query.bind(1, rowid);
    bindOptional(query, 2, bytes.data);
    bindOptional(query, 3, bytes.metadata);
    query.bind(4, rowChecksum(collection.seed, PackedKey(key), bytes.data, bytes.metadata));
    return query.run() || failWith("written");
}

/// Where the row is; nothing when it is absent. False, with the transaction failed, when that
/// cannot be told.
bool ConnectionCore::findForWriting(const Collection* collection, std::string_view key,
                                    std::optional<std::int64_t>* rowid) {
    if (!collection) return !active_->hasFailed;
    const PackedKey packed(key);
    Query query(statements_.rowidByKey, handle_.get());
    query.bind(1, collection->id);
    packed.bindTo(query, 2);
    if (query.row()) *rowid = query.number(0);
    return query.ok() || failWith("read");
}

bool ConnectionCore::setObject(Value object, std::string_view key, std::string_view collection,
                               Value metadata) {
    refuseDuringEnumeration();
    if (!collection.data()) collection = "";
    if (!key.data() || active_->hasFailed) return false;
    object = sanitized(database_.objectCallbacks(), collection, key, std::move(object));
    if (object.isNil()) return remove(key, collection);
    metadata = sanitized(database_.metadataCallbacks(), collection, key, std::move(metadata));
    if (!store(object, metadata, key, collection)) return false;
    if (const auto& after = database_.objectCallbacks().postSanitizer)
        after(collection, key, object);
    const auto& afterMetadata = database_.metadataCallbacks().postSanitizer;
    if (afterMetadata && !metadata.isNil()) afterMetadata(collection, key, metadata);
    return true;
}

bool ConnectionCore::store(const Value& object, const Value& metadata, std::string_view key,
                           std::string_view collection) {
    Serialized bytes;
    if (!serialize(&bytes, object, metadata, key, collection)) return false;
    const Collection* of = collectionForWriting(collection);
    if (!of) return false;
    std::optional<std::int64_t> known;
    if (!findForWriting(of, key, &known)) return false;
    std::int64_t number = known.value_or(0);
    if (known ? !updateRow(number, *of, key, bytes) : !insertRow(*of, key, bytes, &number))
        return false;
    ++active_->rowOperations;
    active_->changes.noteObject(*of, key, object);
    active_->changes.noteMetadata(*of, key, metadata);
    if (!work().isEmpty()) {
        const YapDatabaseRow row{number, collection, key, object, metadata};
        if (known)
            work().didUpdate(row, {.object = true, .metadata = true});
        else
            work().didInsert(row);
    }
    return true;
}

bool ConnectionCore::replaceObject(Value object, std::string_view key,
                                   std::string_view collection) {
    refuseDuringEnumeration();
    if (!collection.data()) collection = "";
    if (!key.data() || active_->hasFailed) return false;
    std::optional<std::int64_t> known;
    if (!findForWriting(this->collection(collection), key, &known) || !known) return false;
    object = sanitized(database_.objectCallbacks(), collection, key, std::move(object));
    if (object.isNil()) return remove(key, collection);
    if (!replaceHalf(true, object, key, collection)) return false;
    if (const auto& after = database_.objectCallbacks().postSanitizer)
        after(collection, key, object);
    return true;
}

bool ConnectionCore::replaceMetadata(Value metadata, std::string_view key,
                                     std::string_view collection) {
    refuseDuringEnumeration();
    if (!collection.data()) collection = "";
    if (!key.data() || active_->hasFailed) return false;
    std::optional<std::int64_t> known;
    if (!findForWriting(this->collection(collection), key, &known) || !known) return false;
    metadata = sanitized(database_.metadataCallbacks(), collection, key, std::move(metadata));
    if (!replaceHalf(false, metadata, key, collection)) return false;
    const auto& after = database_.metadataCallbacks().postSanitizer;
    if (after && !metadata.isNil()) after(collection, key, metadata);
    return true;
}

/// Writes one half of a row that is there and keeps the other. A damaged row keeps nothing: its
/// metadata goes when the object is replaced, and its metadata cannot be replaced alone.
bool ConnectionCore::replaceHalf(bool isObject, const Value& value, std::string_view key,
                                 std::string_view collectionName) {
    const Collection* of = collection(collectionName);
    Serialized bytes;
    const Value nil;
    if (!serialize(&bytes, isObject ? value : nil, isObject ? nil : value, key, collectionName))
        return false;
    std::int64_t number = 0;
    std::vector<std::uint8_t> kept;
    {
        const PackedKey packed(key);
        Query query(statements_.rowByKey, handle_.get());
        query.bind(1, of->id);
        packed.bindTo(query, 2);
        if (!query.row()) return failWith("read");
        number = query.number(0);
        const bool isWhole = decode(query, *of, packed, key, nullptr, nullptr);
        if (!isWhole && !isObject) return false;
        const int other = isObject ? 2 : 1;
        if (isWhole && !query.isNull(other)) {
            const Bytes stored = query.blob(other);
            kept.assign(stored.begin(), stored.end());
            (isObject ? bytes.metadata : bytes.data) = Bytes(kept);
        }
    }
    if (!updateRow(number, *of, key, bytes)) return false;
    ++active_->rowOperations;
    if (isObject)
        active_->changes.noteObject(*of, key, value);
    else
        active_->changes.noteMetadata(*of, key, value);
    if (work().isEmpty()) return true;
    const Value other = this->value(!isObject, key, collectionName);
    const YapDatabaseRow row{number, collectionName, key, isObject ? value : other,
                             isObject ? other : value};
    work().didUpdate(row, {.object = isObject, .metadata = !isObject});
    return true;
}

void ConnectionCore::touch(std::string_view key, std::string_view collectionName, bool object,
                           bool metadata) {
    if (!key.data() || active_->hasFailed) return;
    const Collection* of = collection(collectionName);
    if (!of) return;
    std::optional<std::int64_t> number;
    if (!findForWriting(of, key, &number) || !number) return;
    ++active_->rowOperations;
    active_->changes.noteTouch(*of, key, object, metadata);
    if (work().isEmpty()) return;
    const Value itsObject = value(true, key, of->name), itsMetadata = value(false, key, of->name);
    const YapDatabaseRow row{*number, of->name, key, itsObject, itsMetadata};
    work().didUpdate(row, {.object = object, .metadata = metadata, .isTouch = true});
}

bool ConnectionCore::remove(std::string_view key, std::string_view collectionName) {
    refuseDuringEnumeration();
    if (!key.data() || active_->hasFailed) return false;
    const Collection* of = collection(collectionName);
    std::optional<std::int64_t> known;
    if (!findForWriting(of, key, &known)) return false;
    return !known || removeRow(*of, key, *known);
}

bool ConnectionCore::removeRow(const Collection& collection, std::string_view key,
                               std::int64_t rowid) {
    const Value nil;
    const YapDatabaseRow row{rowid, collection.name, key, nil, nil};
    const bool isWatched = !work().isEmpty();
    if (isWatched) work().willRemove(row);
    {
        Query query(statements_.deleteRow, handle_.get());
        query.bind(1, rowid);
        if (!query.run()) return failWith("written");
    }
    ++active_->rowOperations;
    active_->changes.noteRemoval(collection, key);
    if (isWatched) work().didRemove(row);
    return true;
}

bool ConnectionCore::removeAllIn(const Collection& collection) {
    std::vector<std::pair<std::int64_t, String>> rows;
    const bool isRead = enumerateKeys(collection, [&](std::int64_t rowid, std::string_view key) {
        rows.emplace_back(rowid, String(key));
        return true;
    });
    if (!isRead) return fail(active_->error);
    for (const auto& [number, key] : rows)
        if (!removeRow(collection, key, number)) return false;
    return true;
}

bool ConnectionCore::removeAll(std::string_view name) {
    refuseDuringEnumeration();
    if (active_->hasFailed) return false;
    const Collection* of = collection(name);
    return !of || removeAllIn(*of);
}

bool ConnectionCore::removeAll() {
    refuseDuringEnumeration();
    if (active_->hasFailed) return false;
    for (const String& name : collections())
        if (!removeAll(name.view())) return false;
    return true;
}

}  // namespace qsml::detail
