#include "store/YapDatabaseTransaction.h"

#include <new>

#include "store/detail/ConnectionCore.h"

namespace qsml {

using detail::Collection;

namespace {

/// Runs a write; too little memory makes the transaction fail.
template <class Work>
bool guarded(detail::ConnectionCore& core, Work&& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        core.active().hasFailed = true;
        detail::reportNoMemory(&core.active().error, core.handle().path());
        return false;
    }
}

/// The same for a read, which answers nothing then.
template <class Result, class Work>
Result read(detail::ConnectionCore& core, Work&& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        if (core.active().isWrite) core.active().hasFailed = true;
        detail::reportNoMemory(&core.active().error, core.handle().path());
        return Result();
    }
}

}  // namespace

const std::shared_ptr<YapDatabaseConnection>& YapDatabaseReadTransaction::connection() const {
    return core_.active().connection;
}

std::uint64_t YapDatabaseReadTransaction::snapshot() const { return core_.snapshot(); }

const Error& YapDatabaseReadTransaction::error() const { return core_.active().error; }

std::uint64_t YapDatabaseReadTransaction::numberOfCollections() const {
    return core_.numberOfCollections();
}

std::uint64_t YapDatabaseReadTransaction::numberOfKeysInCollection(
    std::string_view collection) const {
    return core_.numberOfKeys(collection);
}

std::uint64_t YapDatabaseReadTransaction::numberOfKeysInAllCollections() const {
    return core_.numberOfKeys();
}

std::vector<String> YapDatabaseReadTransaction::allCollections() const {
    return core_.collections();
}

std::vector<String> YapDatabaseReadTransaction::allKeysInCollection(
    std::string_view collection) const {
    std::vector<String> keys;
    enumerateKeysInCollection(collection,
                              [&](std::string_view key, bool&) { keys.emplace_back(key); });
    return keys;
}

bool YapDatabaseReadTransaction::hasObjectForKey(std::string_view key,
                                                 std::string_view collection) const {
    return read<bool>(core_, [&] { return core_.rowid(key, collection).has_value(); });
}

Value YapDatabaseReadTransaction::objectForKey(std::string_view key,
                                               std::string_view collection) const {
    return read<Value>(core_, [&] { return core_.object(key, collection); });
}

Value YapDatabaseReadTransaction::metadataForKey(std::string_view key,
                                                 std::string_view collection) const {
    return read<Value>(core_, [&] { return core_.metadata(key, collection); });
}

bool YapDatabaseReadTransaction::getObjectAndMetadata(Value* object, Value* metadata,
                                                      std::string_view key,
                                                      std::string_view collection) const {
    return read<bool>(core_,
                      [&] { return core_.objectAndMetadata(object, metadata, key, collection); });
}

void YapDatabaseReadTransaction::enumerateCollections(const CollectionBlock& block) const {
    bool stop = false;
    for (const String& name : core_.collections()) {
        block(name, stop);
        if (stop) return;
    }
}

void YapDatabaseReadTransaction::enumerateKeysInCollection(std::string_view collection,
                                                           const KeyBlock& block) const {
    const Collection* of = core_.collection(collection);
    if (!of) return;
    core_.enumerateKeys(*of, [&](std::int64_t, std::string_view key) {
        bool stop = false;
        block(key, stop);
        return !stop;
    });
}

void YapDatabaseReadTransaction::enumerateKeysInAllCollections(
    const CollectionKeyBlock& block) const {
    bool stop = false;
    for (const String& name : core_.collections()) {
        enumerateKeysInCollection(name, [&](std::string_view key, bool& stopThis) {
            block(name, key, stop);
            stopThis = stop;
        });
        if (stop) return;
    }
}

void YapDatabaseReadTransaction::enumerateKeysAndObjectsInCollection(
    std::string_view collection, const ObjectBlock& block, const KeyFilter& filter) const {
    const Collection* of = core_.collection(collection);
    if (!of) return;
    core_.enumerateRowids(detail::firstRowid(of->id), detail::lastRowid(of->id),
                          detail::ConnectionCore::Decode::object, filter,
                          [&](const YapDatabaseRow& row) {
                              bool stop = false;
                              if (!row.object.isNil()) block(row.key, row.object, stop);
                              return !stop;
                          });
}

void YapDatabaseReadTransaction::enumerateKeysAndObjectsInAllCollections(
    const CollectionObjectBlock& block) const {
    core_.enumerateRowids(0, INT64_MAX, detail::ConnectionCore::Decode::object, {},
                          [&](const YapDatabaseRow& row) {
                              bool stop = false;
                              if (!row.object.isNil())
                                  block(row.collection, row.key, row.object, stop);
                              return !stop;
                          });
}

void YapDatabaseReadTransaction::enumerateRowsInCollection(std::string_view collection,
                                                           const RowBlock& block,
                                                           const KeyFilter& filter) const {
    const Collection* of = core_.collection(collection);
    if (!of) return;
    core_.enumerateRowids(detail::firstRowid(of->id), detail::lastRowid(of->id),
                          detail::ConnectionCore::Decode::objectAndMetadata, filter,
                          [&](const YapDatabaseRow& row) {
                              bool stop = false;
                              if (!row.object.isNil())
                                  block(row.key, row.object, row.metadata, stop);
                              return !stop;
                          });
}

void YapDatabaseReadTransaction::enumerateObjectsForKeys(const std::vector<String>& keys,
                                                         std::string_view collection,
                                                         const IndexedObjectBlock& block) const {
    const detail::Enumeration enumeration(core_.active());
    bool stop = false;
    for (std::size_t i = 0; i < keys.size() && !stop; ++i)
        block(i, objectForKey(keys[i], collection), stop);
}

YapDatabaseExtensionTransaction* YapDatabaseReadTransaction::ext(std::string_view name) {
    return core_.work().named(name);
}

bool YapDatabaseReadWriteTransaction::setObject(Value object, std::string_view key,
                                                std::string_view collection) {
    return setObject(std::move(object), key, collection, Value());
}

bool YapDatabaseReadWriteTransaction::setObject(Value object, std::string_view key,
                                                std::string_view collection, Value metadata) {
    return guarded(core_, [&] {
        return core_.setObject(std::move(object), key, collection, std::move(metadata));
    });
}

bool YapDatabaseReadWriteTransaction::replaceObject(Value object, std::string_view key,
                                                    std::string_view collection) {
    return guarded(core_, [&] { return core_.replaceObject(std::move(object), key, collection); });
}

bool YapDatabaseReadWriteTransaction::replaceMetadata(Value metadata, std::string_view key,
                                                      std::string_view collection) {
    return guarded(core_,
                   [&] { return core_.replaceMetadata(std::move(metadata), key, collection); });
}

void YapDatabaseReadWriteTransaction::touchObjectForKey(std::string_view key,
                                                        std::string_view collection) {
    guarded(core_, [&] { return core_.touch(key, collection, true, false), true; });
}

void YapDatabaseReadWriteTransaction::touchMetadataForKey(std::string_view key,
                                                          std::string_view collection) {
    guarded(core_, [&] { return core_.touch(key, collection, false, true), true; });
}

void YapDatabaseReadWriteTransaction::touchRowForKey(std::string_view key,
                                                     std::string_view collection) {
    guarded(core_, [&] { return core_.touch(key, collection, true, true), true; });
}

bool YapDatabaseReadWriteTransaction::removeObjectForKey(std::string_view key,
                                                         std::string_view collection) {
    return guarded(core_, [&] { return core_.remove(key, collection); });
}

bool YapDatabaseReadWriteTransaction::removeObjectsForKeys(const std::vector<String>& keys,
                                                           std::string_view collection) {
    bool isDone = true;
    for (const String& key : keys)
        if (key) isDone = removeObjectForKey(key, collection) && isDone;
    return isDone;
}

bool YapDatabaseReadWriteTransaction::removeAllObjectsInCollection(std::string_view collection) {
    return guarded(core_, [&] { return core_.removeAll(collection); });
}

bool YapDatabaseReadWriteTransaction::removeAllObjectsInAllCollections() {
    return guarded(core_, [&] { return core_.removeAll(); });
}

void YapDatabaseReadWriteTransaction::rollback() { core_.rollback(); }

void YapDatabaseReadWriteTransaction::setYapDatabaseModifiedNotificationCustomObject(
    std::any object) {
    core_.active().custom = std::move(object);
}

}  // namespace qsml
