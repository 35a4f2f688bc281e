// Reading rows: through what the transaction wrote, the caches and the file.
#include <sqlite3.h>

#include <new>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/PackedKey.h"
#include "store/detail/checksum.h"

namespace qsml::detail {

namespace {

/// Columns of all row queries: 0 rowid, 1 data, 2 metadata, 3 checksum.
std::optional<Bytes> bytesOf(const Query& query, int column) {
    if (query.isNull(column)) return std::nullopt;
    return query.blob(column);
}

bool isSound(const Query& query, const Collection& collection, const PackedKey& key) {
    return query.type(3) == SQLITE_INTEGER &&
           query.number(3) ==
               rowChecksum(collection.seed, key, bytesOf(query, 1), bytesOf(query, 2));
}

void warnOfDamage(std::string_view collection, std::string_view key) {
    std::string line = "Warning: unknown database object collection \"";
    line.append(collection).append("\" (").append(key);
    log(line + "): the stored bytes are damaged");
}

Value decodedBy(const YapDatabaseObjectCallbacks& callbacks, std::string_view collection,
                std::string_view key, const std::optional<Bytes>& bytes) {
    if (!bytes || !callbacks.deserializer) return {};
    return callbacks.deserializer(collection, key, *bytes);
}

}  // namespace

const Collection* ConnectionCore::collection(std::string_view name) {
    if (!name.data()) name = "";
    if (lastCollection_ && lastCollection_->name == name) return lastCollection_;
    for (const auto& made : active_->newCollections)
        if (made->name == name) return made.get();
    const auto known = knownCollections_.find(name);
    if (known != knownCollections_.end()) return lastCollection_ = known->second;
    const Collection* found = database_.collections().named(name);
    if (!found) {
        Query query(statements_.collectionByName, handle_.get());
        query.bindText(1, name);
        if (!query.row()) {
            noteReadError(query);
            return nullptr;
        }
        found = database_.collections().add(Collection(query.number(0), name));
    }
    knownCollections_.emplace(found->name.view(), found);
    return lastCollection_ = found;
}

const Collection* ConnectionCore::collection(std::uint32_t id) {
    if (lastCollection_ && lastCollection_->id == id) return lastCollection_;
    for (const auto& made : active_->newCollections)
        if (made->id == id) return made.get();
    if (const Collection* found = database_.collections().numbered(id))
        return lastCollection_ = found;
    Query query(statements_.collectionById, handle_.get());
    query.bind(1, id);
    if (query.row())
        return lastCollection_ =
                   database_.collections().add(Collection(query.number(0), query.text(1)));
    noteReadError(query);
    return nullptr;
}

const RowValues* ConnectionCore::changed(const Collection& collection, std::string_view key) const {
    return active_->changes.empty() ? nullptr : active_->changes.find(collection.id, key);
}

std::optional<std::int64_t> ConnectionCore::rowid(const Collection& collection,
                                                  std::string_view key) {
    const PackedKey packed(key);
    Query query(statements_.rowidByKey, handle_.get());
    query.bind(1, collection.id);
    packed.bindTo(query, 2);
    if (query.row()) return query.number(0);
    noteReadError(query);
    return std::nullopt;
}

std::optional<std::int64_t> ConnectionCore::rowid(std::string_view key,
                                                  std::string_view collectionName) {
    if (!key.data()) return std::nullopt;
    const Collection* of = collection(collectionName);
    return of ? rowid(*of, key) : std::nullopt;
}

/// Verifies the row that the query stands on and decodes what is asked for. False when it is
/// damaged.
bool ConnectionCore::decode(Query& query, const Collection& collection, const PackedKey& packed,
                            std::string_view key, Value* object, Value* metadata) {
    if (!isSound(query, collection, packed)) {
        warnOfDamage(collection.name, key);
        active_->hasReadDamage = true;
        return false;
    }
    if (object)
        *object = decodedBy(database_.objectCallbacks(), collection.name, key, bytesOf(query, 1));
    if (metadata)
        *metadata =
            decodedBy(database_.metadataCallbacks(), collection.name, key, bytesOf(query, 2));
    return true;
}

bool ConnectionCore::load(const Collection& collection, std::string_view key, Value* object,
                          Value* metadata) {
    const PackedKey packed(key);
    Query query(statements_.rowByKey, handle_.get());
    query.bind(1, collection.id);
    packed.bindTo(query, 2);
    if (query.row()) return decode(query, collection, packed, key, object, metadata);
    noteReadError(query);
    return false;
}

/// What is known of a value without the file; `mayCache` tells whether the file's may go into the
/// cache.
bool ConnectionCore::findInMemory(bool isObject, const Collection& collection, std::string_view key,
                                  Value* result, bool* mayCache) {
    const RowValues* change = changed(collection, key);
    const auto half = change ? (isObject ? change->objectHalf : change->metadataHalf)
                             : RowValues::Half::untouched;
    *mayCache = half == RowValues::Half::untouched &&
                (isObject ? settings_.objectCacheEnabled : settings_.metadataCacheEnabled);
    if (half == RowValues::Half::carried) {
        *result = isObject ? change->object : change->metadata;
        return true;
    }
    if (!*mayCache) return false;
    const Value* found = (isObject ? objects_ : metadata_).find(collection.id, key);
    if (found) *result = *found;
    return found != nullptr;
}

Value ConnectionCore::value(bool isObject, std::string_view key, std::string_view collectionName) {
    if (!key.data()) return {};
    const Collection* of = collection(collectionName);
    if (!of) return {};
    Value result;
    bool mayCache = false;
    if (findInMemory(isObject, *of, key, &result, &mayCache)) return result;
    load(*of, key, isObject ? &result : nullptr, isObject ? nullptr : &result);
    if (mayCache && !result.isNil()) (isObject ? objects_ : metadata_).put(of->id, key, result);
    return result;
}

Value ConnectionCore::object(std::string_view key, std::string_view collection) {
    return value(true, key, collection);
}

Value ConnectionCore::metadata(std::string_view key, std::string_view collection) {
    return value(false, key, collection);
}

bool ConnectionCore::objectAndMetadata(Value* object, Value* metadata, std::string_view key,
                                       std::string_view collectionName) {
    if (object) *object = {};
    if (metadata) *metadata = {};
    const Collection* of = key.data() ? collection(collectionName) : nullptr;
    if (!of) return false;
    if (const RowValues* change = changed(*of, key); change && change->isRemoved) return false;
    Value found[2];
    bool mayCache[2];
    const bool isObjectKnown = findInMemory(true, *of, key, &found[0], &mayCache[0]);
    const bool isMetadataKnown = findInMemory(false, *of, key, &found[1], &mayCache[1]);
    if ((object && !isObjectKnown) || (metadata && !isMetadataKnown) ||
        (!isObjectKnown && !isMetadataKnown)) {
        Value* const wanted[] = {isObjectKnown ? nullptr : &found[0],
                                 isMetadataKnown ? nullptr : &found[1]};
        if (!load(*of, key, wanted[0], wanted[1])) return false;
        if (wanted[0] && mayCache[0] && !found[0].isNil()) objects_.put(of->id, key, found[0]);
        if (wanted[1] && mayCache[1] && !found[1].isNil()) metadata_.put(of->id, key, found[1]);
    }
    if (object) *object = std::move(found[0]);
    if (metadata) *metadata = std::move(found[1]);
    return true;
}

std::uint64_t ConnectionCore::count(Statement& statement, const Collection* collection) {
    Query query(statement, handle_.get());
    if (collection) query.bind(1, collection->id);
    if (query.row()) return static_cast<std::uint64_t>(query.number(0));
    noteReadError(query);
    return 0;
}

std::uint64_t ConnectionCore::numberOfKeys(std::string_view name) {
    const Collection* of = collection(name);
    return of ? count(statements_.countInCollection, of) : 0;
}

std::uint64_t ConnectionCore::numberOfKeys() { return count(statements_.countAll, nullptr); }

std::uint64_t ConnectionCore::numberOfCollections() { return collections().size(); }

std::vector<String> ConnectionCore::collections() {
    std::vector<String> names;
    Query query(statements_.collections, handle_.get());
    while (query.row()) names.emplace_back(query.text(1).data() ? query.text(1) : "");
    noteReadError(query);
    return names;
}

}  // namespace qsml::detail
