// Repair, compaction and backup.
#include <new>

#include "store/YapDatabase.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/maintenance/backupFile.h"

namespace qsml {

bool YapDatabase::rebuildExtensions(Error* error) {
    core_->refuseInForkedChild();
    bool isDone = false;
    core_->scheduler().runSync(nullptr, &core_->writers(), [&] {
        isDone = core_->rebuildExtensions(shared_from_this(), error);
    });
    return isDone;
}

bool YapDatabase::setAsideDamagedRows(const std::function<bool(const DamagedRow&)>& keep,
                                      std::uint64_t* count, Error* error) {
    core_->refuseInForkedChild();
    bool isDone = false;
    core_->scheduler().runSync(nullptr, &core_->writers(), [&] {
        isDone = core_->setAsideDamagedRows(shared_from_this(), keep, count, error);
    });
    return isDone;
}

bool YapDatabase::compact(Error* error) {
    core_->refuseInForkedChild();
    return core_->compact(error);
}

bool YapDatabase::backup(
    const std::string& path,
    const std::function<void(std::uint64_t done, std::uint64_t total)>& progress, Error* error) {
    core_->refuseInForkedChild();
    try {
        return detail::backupFile({.source = core_->path(),
                                   .destination = path,
                                   .settings = core_->sqliteSettings(),
                                   .progress = progress},
                                  error);
    } catch (const std::bad_alloc&) {
        detail::reportNoMemory(error, core_->path());
        return false;
    }
}

}  // namespace qsml
