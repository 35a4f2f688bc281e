#pragma once
#include <cstdint>
#include <memory>
#include <optional>

#include "foundation/Export.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItemAnalyzedData;
class PLXMediaItemTitleID;
class YapDatabaseReadTransaction;

/// Finds and stores what analysis has found about tracks. Has no state of its own.
///
/// Thread-safe. Operations without a transaction run one of their own, synchronously, on the
/// manager's background connection: not from inside a write block, nor a block of that connection;
/// before the manager is set up they find and store nothing. What is found is frozen; `copy()` it
/// to change it.
class QSML_EXPORT PLXMediaItemAnalyzedDataSource {
public:
    /// The source of the shared manager, made on first use.
    static PLXMediaItemAnalyzedDataSource& sharedInstance();
    /// The manager must outlive the source.
    explicit PLXMediaItemAnalyzedDataSource(PLXDatabaseManager& manager) : manager_(manager) {}

    /// Null when none is stored, or the title ID has no internal ID. Runs in the order of writes,
    /// so that it sees the newest commit, and writes nothing.
    std::shared_ptr<const PLXMediaItemAnalyzedData> mediaItemAnalyzedDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const;
    /// With the flag set, a record that is missing is made and stored, together with a copy of the
    /// title ID; null then when that could not be done, or what stands there could not be read,
    /// which is not replaced.
    std::shared_ptr<const PLXMediaItemAnalyzedData> mediaItemAnalyzedDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID, bool createIfNeeded) const;

    /// Stores the record and touches its media item, so that observers of the item see the change.
    /// False when that could not be done: the library is as before. The store freezes the record,
    /// also where it then answers false.
    bool setMediaItemAnalyzedData(const std::shared_ptr<const PLXMediaItemAnalyzedData>& data);

    /// Beats per minute, from the index: the user's tempo where there is one, else the analysed
    /// one. Nothing when neither is known or nothing was analysed.
    std::optional<double> bpmForMediaItemWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        YapDatabaseReadTransaction& transaction) const;
    /// The analysed key, from the index. On purpose the user's key is not asked, unlike the tempo.
    /// Pinned by GivenAnalyzedTracks.WhenTheKeyIsAskedThenTheUsersKeyDoesNotCount.
    std::optional<std::int64_t> keySignatureIndexForMediaItemWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        YapDatabaseReadTransaction& transaction) const;

private:
    PLXDatabaseManager& manager_;
};

}  // namespace qsml
