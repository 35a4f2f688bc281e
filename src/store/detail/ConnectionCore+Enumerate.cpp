// Walking over rows: straight from SQLite's bytes, one row at a time.
#include <sqlite3.h>

#include <algorithm>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/PackedKey.h"
#include "store/detail/checksum.h"
#include "store/maintenance/RebuildRun.h"

namespace qsml::detail {

bool ConnectionCore::enumerateKeys(const Collection& collection, const KeyBlock& block) {
    const Enumeration enumeration(*active_);
    UnpackedKey key;
    Query query(statements_.keysInCollection, handle_.get());
    query.bind(1, collection.id);
    while (query.row())
        if (key.read(query, 1) && !block(query.number(0), key.view())) return true;
    noteReadError(query);
    return query.ok();
}

/// Gives the row that the query stands on to the block, from the transaction's changes or the cache
/// where they have it. `goOn` tells what the block answered. False when the row is damaged.
bool ConnectionCore::emitRow(Query& query, const Collection& collection, std::string_view key,
                             Decode wish, const RowBlock& block, bool* goOn) {
    const RowValues* change = changed(collection, key);
    Value object, metadata;
    bool hasObject = false, hasMetadata = wish == Decode::object;
    if (change && change->objectHalf == RowValues::Half::carried) {
        object = change->object;
        hasObject = true;
    } else if (!change || change->objectHalf == RowValues::Half::untouched) {
        const Value* found = objects_.find(collection.id, key);
        if (found) object = *found;
        hasObject = found != nullptr;
    }
    if (!hasMetadata && change && change->metadataHalf == RowValues::Half::carried) {
        metadata = change->metadata;
        hasMetadata = true;
    }
    if (!hasMetadata && query.isNull(2)) hasMetadata = true;
    if (!hasObject || !hasMetadata) {
        const PackedKey packed(key);
        if (!decode(query, collection, packed, key, hasObject ? nullptr : &object,
                    hasMetadata ? nullptr : &metadata))
            return false;
    }
    const YapDatabaseRow row{query.number(0), collection.name, key, object, metadata};
    *goOn = block(row);
    return true;
}

bool ConnectionCore::enumerateRowids(std::int64_t first, std::int64_t last, Decode wish,
                                     const std::function<bool(std::string_view key)>& filter,
                                     const RowBlock& block) {
    const Enumeration enumeration(*active_);
    UnpackedKey key;
    Query query(statements_.rowsInRange, handle_.get());
    query.bind(1, first).bind(2, last);
    while (query.row()) {
        const Collection* of = collection(collectionOfRowid(query.number(0)));
        if (!of || !key.read(query, 4)) continue;
        if (filter && !filter(key.view())) continue;
        bool goOn = true;
        emitRow(query, *of, key.view(), wish, block, &goOn);
        if (!goOn) return true;
    }
    noteReadError(query);
    return query.ok();
}

bool ConnectionCore::enumerateRows(const std::set<std::string, std::less<>>* names,
                                   const std::function<void(const YapDatabaseRow&)>& block) {
    const RowBlock all = [&](const YapDatabaseRow& row) {
        block(row);
        return true;
    };
    std::function<bool(std::string_view)> counted;  // rows that do not decode, too
    if (RebuildRun* run = active_->rebuild) {
        run->willRead(names);
        counted = [run](std::string_view) { return run->didRead(); };
    }
    if (!names) return enumerateRowids(0, INT64_MAX, Decode::objectAndMetadata, counted, all);
    std::vector<std::uint32_t> numbers;
    for (const std::string& name : *names)
        if (const Collection* of = collection(name)) numbers.push_back(of->id);
    std::sort(numbers.begin(), numbers.end());
    return std::all_of(numbers.begin(), numbers.end(), [&](std::uint32_t number) {
        return enumerateRowids(firstRowid(number), lastRowid(number), Decode::objectAndMetadata,
                               counted, all);
    });
}

bool ConnectionCore::readKey(std::int64_t rowid, YapDatabaseCollectionKey* row) {
    UnpackedKey key;
    Query query(statements_.keyByRowid, handle_.get());
    query.bind(1, rowid);
    if (!query.row()) {
        noteReadError(query);
        return false;
    }
    const Collection* of = collection(collectionOfRowid(rowid));
    if (!of || !key.read(query, 0)) return false;
    *row = {of->name, key.view()};
    return true;
}

bool ConnectionCore::readRow(std::int64_t rowid,
                             const std::function<void(const YapDatabaseRow&)>& block) {
    UnpackedKey key;
    Query query(statements_.rowByRowid, handle_.get());
    query.bind(1, rowid);
    if (!query.row()) {
        noteReadError(query);
        return false;
    }
    const Collection* of = collection(collectionOfRowid(rowid));
    if (!of || !key.read(query, 4)) return false;
    const RowBlock once = [&](const YapDatabaseRow& row) {
        block(row);
        return true;
    };
    bool goOn = true;
    if (emitRow(query, *of, key.view(), Decode::objectAndMetadata, once, &goOn)) return true;
    const Value nil;  // the row is there, but does not decode
    block({rowid, of->name, key.view(), nil, nil});
    return true;
}

bool ConnectionCore::inspectRows(std::int64_t first, std::int64_t last,
                                 const std::function<bool(const StoredRow&)>& block) {
    UnpackedKey key;
    Query query(statements_.rowsInRange, handle_.get());
    query.bind(1, first).bind(2, last);
    while (query.row()) {
        StoredRow row;
        row.rowid = query.number(0);
        const Collection* of = collection(collectionOfRowid(row.rowid));
        const bool isKey = key.read(query, 4);
        row.key = key.view();
        if (of) row.collection = of->name.str();
        Value object, metadata;
        const PackedKey packed(key.view());
        if (!of || query.number(5) != of->id)
            row.fault = "the row belongs to no collection";
        else if (!isKey)
            row.fault = "the key is not in a stored form";
        else if (!decode(query, *of, packed, key.view(), &object, &metadata))
            row.fault = "the stored bytes are damaged";
        else if (!query.isNull(1) && object.isNil())
            row.fault = "the stored bytes hold no object";
        else if (!query.isNull(2) && metadata.isNil())
            row.fault = "the stored metadata hold no object";
        if (!query.isNull(1)) row.data = query.blob(1);
        if (!query.isNull(2)) row.metadata = query.blob(2);
        if (!block(row)) return true;
    }
    noteReadError(query);
    return query.ok();
}

}  // namespace qsml::detail
