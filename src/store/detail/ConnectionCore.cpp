#include "store/detail/ConnectionCore.h"

#include <sqlite3.h>

#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"

namespace qsml::detail {

void reportNoMemory(Error* error, const std::string& path) noexcept {
    try {
        report(error, fileError(SQLITE_NOMEM, path, "used", "there is not enough memory"));
    } catch (...) {  // not even for that: the code alone says so
        if (error) error->code = SQLITE_NOMEM;
    }
}

ConnectionCore::ConnectionCore(DatabaseCore& database, SqliteHandle handle)
    : database_(database), handle_(std::move(handle)) {
    settings_.objectPolicy = database.defaultObjectPolicy.load();
    settings_.metadataPolicy = database.defaultMetadataPolicy.load();
    sqlite3_commit_hook(
        handle_.get(),
        [](void* self) { return static_cast<ConnectionCore*>(self)->mayCommit_ ? 0 : 1; }, this);
    sqlite3_wal_hook(
        handle_.get(),
        [](void* self, sqlite3*, const char*, int frames) {
            static_cast<ConnectionCore*>(self)->walFrames_ = frames;
            return SQLITE_OK;
        },
        this);
    state_ = database.history().newestState();
    snapshot_ = database.history().newestSnapshot();
    database_.addConnection(*this);
}

ConnectionCore::~ConnectionCore() {
    database_.removeConnection(*this);
    slots_.clear();
    statements_.finalize();
}

void ConnectionCore::retire() {
    endPin();
    database_.removeConnection(*this);
}

std::string ConnectionCore::name() const {
    const std::lock_guard lock(nameMutex_);
    return name_;
}

void ConnectionCore::setName(std::string name) {
    const std::lock_guard lock(nameMutex_);
    name_ = std::move(name);
}

void ConnectionCore::applySettings() {
    if (settings_.mustFlushMemory.exchange(false)) {
        clearCaches();
        sqlite3_db_release_memory(handle_.get());
    }
    if (!settings_.objectCacheEnabled) objects_.clear();
    if (!settings_.metadataCacheEnabled) metadata_.clear();
    objects_.setLimit(settings_.objectCacheLimit);
    metadata_.setLimit(settings_.metadataCacheLimit);
}

void ConnectionCore::clearCaches() {
    objects_.clear();
    metadata_.clear();
}

YapDatabaseReadTransaction& ConnectionCore::transaction() {
    if (active_->isWrite) return readWriteTransaction_;
    return readTransaction_;
}

YapDatabaseReadWriteTransaction* ConnectionCore::readWriteTransaction() {
    return active_->isWrite ? &readWriteTransaction_ : nullptr;
}

ExtensionWork& ConnectionCore::work() {
    if (!active_->work) active_->work = std::make_unique<ExtensionWork>(*this, state_);
    return *active_->work;
}

bool ConnectionCore::fail(Error error) {
    active_->hasFailed = active_->hasReadDamage = true;
    if (!active_->error) active_->error = std::move(error);
    return false;
}

bool ConnectionCore::failWith(const char* action) { return fail(handle_.lastError(action)); }

void ConnectionCore::noteReadError(const Query& query, std::string_view action) {
    if (query.ok()) return;
    active_->hasReadDamage = true;
    if (!active_->error) active_->error = handle_.lastError(action);
}

/// Empty for an extension that has taken the name of another.
std::shared_ptr<void>& ConnectionCore::slot(const std::shared_ptr<const RegisteredExtension>& of) {
    Slot& slot = slots_[of->name];
    if (slot.owner.lock() != of) slot = {of, nullptr};
    return slot.kept;
}

// Moving to a snapshot.

void ConnectionCore::moveTo(std::uint64_t snapshot, YapDatabaseNotifications* passed) {
    auto passage = database_.history().passage(this->snapshot(), snapshot);
    if (!passage.state) {
        auto loaded = loadExtensions(*this, database_.registeredExtensions());
        // Before a writer can meet that commit in the history.
        database_.mustVerifyExtensions = true;
        database_.areOrphansMarked = false;
        database_.history().addForeign(snapshot, loaded);
        passage = database_.history().passage(this->snapshot(), snapshot);
        if (!passage.state) passage.state = loaded;
        database_.announceCommits();
    }
    if (!passage.isComplete) clearCaches();
    for (const CommitRecord& record : passage.records) {
        if (passage.isComplete) applyToCaches(record);
        if (passed) passed->push_back(record.commit);
    }
    const bool hasMoved = snapshot != this->snapshot();
    state_ = std::move(passage.state);
    snapshot_.store(snapshot, std::memory_order_release);
    if (hasMoved) database_.forgetPassedCommits();
}

void ConnectionCore::applyToCaches(const CommitRecord& record) {
    if (objects_.size() == 0 && metadata_.size() == 0) return;
    const auto& changes = record.commit->changes;
    if (!record.values) {
        if (!changes.empty()) clearCaches();
        return;
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const RowValues& values = (*record.values)[i];
        const std::string_view key = changes[i].row.key;
        handOver(objects_, settings_.objectPolicy, values.collection, key, values.objectHalf,
                 values.object);
        handOver(metadata_, settings_.metadataPolicy, values.collection, key, values.metadataHalf,
                 values.metadata);
    }
}

void ConnectionCore::handOver(LruCache& cache, YapDatabasePolicy policy, std::uint32_t collection,
                              std::string_view key, RowValues::Half half, const Value& value) {
    if (half == RowValues::Half::untouched || !cache.contains(collection, key)) return;
    if (half == RowValues::Half::carried && !value.isNil()) {
        if (policy == YapDatabasePolicy::share) return cache.put(collection, key, value);
        if (policy == YapDatabasePolicy::copy) {
            if (!value.object()) return cache.put(collection, key, value);  // values are immutable
            if (auto copy = value.object()->copyObject())
                return cache.put(collection, key, Value(std::shared_ptr<const Object>(copy)));
        }
    }
    cache.remove(collection, key);
}

/// What this connection has written stays at hand.
void ConnectionCore::keepWrittenValues(const CommitRecord& record) {
    const auto keep = [](LruCache& cache, bool isEnabled, const RowValues& values,
                         const String& key, RowValues::Half half, const Value& value) {
        if (half == RowValues::Half::untouched) return;
        if (isEnabled && half == RowValues::Half::carried && !value.isNil())
            cache.putSharing(values.collection, key, value);
        else
            cache.remove(values.collection, key);
    };
    for (std::size_t i = 0; i < record.commit->changes.size(); ++i) {
        const RowValues& values = (*record.values)[i];
        const String& key = record.commit->changes[i].row.key;
        keep(objects_, settings_.objectCacheEnabled, values, key, values.objectHalf, values.object);
        keep(metadata_, settings_.metadataCacheEnabled, values, key, values.metadataHalf,
             values.metadata);
    }
}

// Private settings.

std::optional<std::string> ConnectionCore::setting(std::string_view extension,
                                                   std::string_view key) {
    Query query(statements_.setting, handle_.get());
    query.bindText(1, extension).bindText(2, key);
    if (query.row()) return std::string(query.text(0));
    noteReadError(query);
    return std::nullopt;
}

bool ConnectionCore::setSetting(std::string_view extension, std::string_view key,
                                std::string_view value) {
    if (!active_->isWrite) return false;
    Query query(statements_.setSetting, handle_.get());
    query.bindText(1, extension).bindText(2, key).bindText(3, value);
    return query.run() || failWith("written");
}

std::map<std::string, std::string, std::less<>> ConnectionCore::settings(
    std::string_view extension) {
    std::map<std::string, std::string, std::less<>> all;
    Query query(statements_.settings, handle_.get());
    query.bindText(1, extension);
    while (query.row()) all.emplace(query.text(0), query.text(1));
    noteReadError(query);
    return all;
}

}  // namespace qsml::detail
