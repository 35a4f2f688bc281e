#pragma once
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include <QSMediaLibraryData/store/YapDatabaseNotification.h>

namespace qsml {
class PLXMediaItem;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// Removes tracks with all their records in one transaction, and finds out what the rules of the
/// edges take along. Confined to the transaction.
class TrackRemoval {
public:
    explicit TrackRemoval(YapDatabaseReadWriteTransaction& transaction)
        : transaction_(transaction) {}

    struct Row {
        YapDatabaseCollectionKey row;
        String name;                ///< its title, name or text; nil where it has none
        bool isTakenAlong = false;  ///< by a rule, as the last tag of its kind
    };

    /// Throws CommandFailure when the library cannot be changed.
    void remove(std::shared_ptr<const PLXMediaItem> track);
    /// To be called once, after all tracks: removes their other records and carries out the rules.
    /// Answers what went, the records of the tracks first. Throws CommandFailure.
    std::vector<Row> finish();
    /// User data that stays, because another track of the library is known to it.
    const std::vector<Row>& kept() const { return kept_; }

private:
    void removeRow(const String& key, std::string_view collection);
    void removeOtherRecords(const PLXMediaItem& track);
    void removeUserData(const PLXMediaItem& track);
    void noteNeighbours(const YapDatabaseCollectionKey& row);
    Row described(const YapDatabaseCollectionKey& row) const;

    YapDatabaseReadWriteTransaction& transaction_;
    std::vector<std::shared_ptr<const PLXMediaItem>> tracks_;
    std::vector<Row> rows_, neighbours_, kept_;
    std::set<std::pair<String, String>> known_;  // of the neighbours
};

}  // namespace qsml::app
