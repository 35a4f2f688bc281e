#pragma once
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "store/YapDatabaseNotification.h"
#include "store/detail/SnapshotState.h"
#include "store/detail/TransactionChanges.h"

namespace qsml::detail {

/// One commit of this process, or commits of others that were found together.
struct CommitRecord {
    std::uint64_t first = 0;  ///< the first snapshot it stands for; the last is the commit's
    std::shared_ptr<const YapDatabaseCommit> commit;
    std::shared_ptr<const std::vector<RowValues>> values;  ///< null: not carried
    SnapshotStatePointer state;
    bool isCommitted = true;
};

/// The commits that some connection has yet to pass, in order. Thread-safe; calls nothing with its
/// mutex held.
class CommitHistory {
public:
    void start(std::uint64_t snapshot, SnapshotStatePointer state);
    std::uint64_t newestSnapshot() const;
    SnapshotStatePointer newestState() const;
    /// For a registration that changes nothing in the file.
    void replaceNewestState(SnapshotStatePointer state);

    /// What lies between two snapshots.
    struct Passage {
        std::vector<CommitRecord> records;
        SnapshotStatePointer state;  ///< null when it must be loaded from the file
        bool isComplete = false;     ///< false: more may have changed than the records say
    };
    Passage passage(std::uint64_t from, std::uint64_t to);

    /// Tells of commits of other processes up to the snapshot, unless somebody has already.
    void addForeign(std::uint64_t snapshot, SnapshotStatePointer state);
    /// Just before COMMIT, so that whoever sees the snapshot finds the record.
    void addPending(CommitRecord record);
    void confirmPending();
    void takeBackPending();

    /// The next commit to announce, and nobody else gets one until the next call; null when there
    /// is none.
    std::shared_ptr<const YapDatabaseCommit> nextToAnnounce(bool isFirstCall);
    /// The commit could not be announced; the next call answers it again.
    void putBack(const YapDatabaseCommit& commit);
    /// Forgets what everybody has passed.
    void prune(std::uint64_t passed);
    std::size_t size() const;

private:
    void confirmUpTo(std::uint64_t snapshot);
    std::deque<CommitRecord>::const_iterator firstAfter(std::uint64_t snapshot) const;

    mutable std::mutex mutex_;
    std::deque<CommitRecord> records_;
    std::uint64_t startSnapshot_ = 0;  // the records begin after it
    std::uint64_t newest_ = 0;         // committed
    SnapshotStatePointer newestState_;
    std::uint64_t announced_ = 0;
    bool isAnnouncing_ = false;
};

}  // namespace qsml::detail
