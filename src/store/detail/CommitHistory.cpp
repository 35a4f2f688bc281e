#include "store/detail/CommitHistory.h"

#include <algorithm>

namespace qsml::detail {

namespace {
constexpr std::size_t carriedCommits = 1024;  // older ones no longer hand over values
}

void CommitHistory::start(std::uint64_t snapshot, SnapshotStatePointer state) {
    const std::lock_guard lock(mutex_);
    startSnapshot_ = newest_ = announced_ = snapshot;
    newestState_ = std::move(state);
}

std::uint64_t CommitHistory::newestSnapshot() const {
    const std::lock_guard lock(mutex_);
    return newest_;
}

SnapshotStatePointer CommitHistory::newestState() const {
    const std::lock_guard lock(mutex_);
    return newestState_;
}

void CommitHistory::replaceNewestState(SnapshotStatePointer state) {
    const std::lock_guard lock(mutex_);
    newestState_ = std::move(state);
    if (!records_.empty() && records_.back().commit->snapshot == newest_)
        records_.back().state = newestState_;
}

std::size_t CommitHistory::size() const {
    const std::lock_guard lock(mutex_);
    return records_.size();
}

/// A pending commit that somebody has seen in the file is one.
void CommitHistory::confirmUpTo(std::uint64_t snapshot) {
    if (records_.empty() || records_.back().isCommitted) return;
    CommitRecord& pending = records_.back();
    if (pending.commit->snapshot > snapshot) return;
    pending.isCommitted = true;
    newest_ = pending.commit->snapshot;
    newestState_ = pending.state;
}

std::deque<CommitRecord>::const_iterator CommitHistory::firstAfter(std::uint64_t snapshot) const {
    return std::partition_point(records_.begin(), records_.end(), [&](const CommitRecord& record) {
        return record.commit->snapshot <= snapshot;
    });
}

CommitHistory::Passage CommitHistory::passage(std::uint64_t from, std::uint64_t to) {
    const std::lock_guard lock(mutex_);
    confirmUpTo(to);
    Passage result;
    if (to == newest_) result.state = newestState_;
    result.isComplete = from >= startSnapshot_ && to <= newest_;
    if (from == to) return result;
    for (auto record = firstAfter(from); record != records_.end() && record->first <= to;
         ++record) {
        if (record->commit->isForeign) result.isComplete = false;
        if (record->commit->snapshot == to) result.state = record->state;
        result.records.push_back(*record);
    }
    return result;
}

void CommitHistory::addForeign(std::uint64_t snapshot, SnapshotStatePointer state) {
    const std::lock_guard lock(mutex_);
    confirmUpTo(snapshot);
    if (snapshot <= newest_) return;
    auto commit = std::make_shared<YapDatabaseCommit>();
    commit->snapshot = snapshot;
    commit->isForeign = true;
    records_.push_back({.first = newest_ + 1, .commit = commit, .values = nullptr, .state = state});
    newest_ = snapshot;
    newestState_ = std::move(state);
}

void CommitHistory::addPending(CommitRecord record) {
    record.isCommitted = false;
    const std::lock_guard lock(mutex_);
    records_.push_back(std::move(record));
}

void CommitHistory::confirmPending() {
    const std::lock_guard lock(mutex_);
    confirmUpTo(~std::uint64_t{0});
}

void CommitHistory::takeBackPending() {
    const std::lock_guard lock(mutex_);
    if (!records_.empty() && !records_.back().isCommitted) records_.pop_back();
}

std::shared_ptr<const YapDatabaseCommit> CommitHistory::nextToAnnounce(bool isFirstCall) {
    const std::lock_guard lock(mutex_);
    if (isFirstCall && isAnnouncing_) return nullptr;
    isAnnouncing_ = true;
    const auto next = firstAfter(announced_);
    if (next == records_.end() || !next->isCommitted) {
        isAnnouncing_ = false;
        return nullptr;
    }
    announced_ = next->commit->snapshot;
    return next->commit;
}

void CommitHistory::putBack(const YapDatabaseCommit& commit) {
    const std::lock_guard lock(mutex_);
    announced_ = commit.snapshot - 1;
    isAnnouncing_ = false;
}

void CommitHistory::prune(std::uint64_t passed) {
    const std::lock_guard lock(mutex_);
    while (!records_.empty()) {
        const CommitRecord& oldest = records_.front();
        const std::uint64_t snapshot = oldest.commit->snapshot;
        if (snapshot > passed || snapshot > announced_ || !oldest.isCommitted) break;
        startSnapshot_ = snapshot;
        records_.pop_front();
    }
    if (records_.size() > carriedCommits) {
        for (std::size_t i = records_.size() - carriedCommits; i-- > 0 && records_[i].values;)
            records_[i].values = nullptr;
    }
}

}  // namespace qsml::detail
