#include "store/detail/StatementCache.h"

#include <sqlite3.h>

#include <mutex>

namespace qsml::detail {

namespace {

constexpr std::size_t keptLimit = 100;
constexpr std::size_t keptBytesLimit = 256u << 10;  // of texts: some have thousands of parameters

struct Caches {
    std::mutex mutex;
    std::unordered_map<sqlite3*, std::unique_ptr<StatementCache>> byHandle;
};

/// Never destroyed: connections may close while the process ends.
Caches& caches() {
    static auto* const all = new Caches;
    return *all;
}

/// Before SQLite looks whether statements are left, which would keep the file open.
int connectionCloses(unsigned, void*, void* handle, void*) {
    Caches& all = caches();
    const std::lock_guard lock(all.mutex);
    all.byHandle.erase(static_cast<sqlite3*>(handle));
    return 0;
}

}  // namespace

void StatementCache::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

StatementCache& StatementCache::of(sqlite3* handle) {
    Caches& all = caches();
    const std::lock_guard lock(all.mutex);
    auto& cache = all.byHandle[handle];
    if (!cache) {
        cache = std::make_unique<StatementCache>(handle);
        sqlite3_trace_v2(handle, SQLITE_TRACE_CLOSE, connectionCloses, nullptr);
        sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    }
    return *cache;
}

sqlite3_stmt* StatementCache::add(Statements& statements, const std::string& sql) {
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v3(handle_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    std::unique_ptr<sqlite3_stmt, Finalize> owned(prepared);
    if (prepared) statements.emplace(sql, std::move(owned));
    return prepared;
}

sqlite3_stmt* StatementCache::statement(const std::string& sql) {
    const auto found = statements_.find(sql);
    return found != statements_.end() ? found->second.get() : add(statements_, sql);
}

sqlite3_stmt* StatementCache::kept(const std::string& sql) const {
    const auto found = kept_.find(sql);
    return found != kept_.end() ? found->second.get() : nullptr;
}

sqlite3_stmt* StatementCache::keep(const std::string& sql) {
    if (kept_.size() >= keptLimit || keptBytes_ >= keptBytesLimit) {
        kept_.clear();
        keptBytes_ = 0;
    }
    keptBytes_ += sql.size();
    return add(kept_, sql);
}

}  // namespace qsml::detail
