#pragma once
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/IndexPath.h"
#include "store/YapDatabaseExtension.h"
#include "store/views/YapDatabaseViewContent.h"
#include "store/views/YapDatabaseViewRowChange.h"

namespace qsml {

class YapDatabaseViewMappings;
namespace detail {
class ViewNodeSource;
class ViewState;
}  // namespace detail

/// Which part of a group an enumeration walks over, and how.
struct YapDatabaseViewEnumeration {
    std::uint64_t first = 0;
    std::uint64_t length = std::numeric_limits<std::uint64_t>::max();
    bool isReverse = false;  ///< from the last to the first
};

/// A view in one snapshot, of whatever kind; in a read-write transaction with what it has written
/// so far. Confined to the transaction.
///
///     if (auto* view = transaction.ext<YapDatabaseViewTransaction>("mediaItemsView"))
///         count = view->numberOfItemsInGroup("mediaItem");
///
/// Where the file cannot be read a view answers as if it were empty there, and the transaction has
/// the error (its error(), or the failure of the write).
class QSML_EXPORT YapDatabaseViewTransaction : public YapDatabaseExtensionTransaction,
                                               public YapDatabaseViewContent {
public:
    using KeyBlock = std::function<void(std::string_view collection, std::string_view key,
                                        std::uint64_t index, bool& stop)>;
    using ObjectBlock = std::function<void(std::string_view collection, std::string_view key,
                                           const Value& object, std::uint64_t index, bool& stop)>;
    using Enumeration = YapDatabaseViewEnumeration;

    ~YapDatabaseViewTransaction() override;

    std::uint64_t numberOfGroups();
    /// Those that have rows, in the order of their bytes.
    std::vector<String> allGroups();
    bool hasGroup(std::string_view group);
    std::uint64_t numberOfItemsInGroup(std::string_view group) override;
    /// O(g) of the number of groups.
    std::uint64_t numberOfItemsInAllGroups();
    bool isEmpty() { return numberOfGroups() == 0; }
    bool isEmptyGroup(std::string_view group) { return numberOfItemsInGroup(group) == 0; }

    std::optional<YapDatabaseCollectionKey> keyAtIndex(std::uint64_t index,
                                                       std::string_view group) override;
    std::optional<YapDatabaseCollectionKey> firstKeyInGroup(std::string_view group);
    std::optional<YapDatabaseCollectionKey> lastKeyInGroup(std::string_view group);
    /// Nil when the index is out of range or the row does not decode.
    Value objectAtIndex(std::uint64_t index, std::string_view group);
    Value firstObjectInGroup(std::string_view group);
    Value lastObjectInGroup(std::string_view group);
    /// Nil when the row is not in the view.
    String groupForKey(std::string_view key, std::string_view collection);
    std::optional<YapDatabaseViewPlace> groupAndIndexForKey(std::string_view key,
                                                            std::string_view collection) override;

    // The block may write other rows; the walk is over the view as it was at the call.
    void enumerateKeysInGroup(std::string_view group, const KeyBlock& block,
                              Enumeration enumeration = {});
    /// Rows that do not decode are left out.
    void enumerateKeysAndObjectsInGroup(std::string_view group, const ObjectBlock& block,
                                        Enumeration enumeration = {});
    /// Those of the rows that stand in the group, in its order; at most so many. O(k log k), and
    /// O(n) for the first call on a snapshot.
    std::vector<std::int64_t> rowidsInOrder(
        std::string_view group, const std::vector<std::int64_t>& rowids,
        std::size_t limit = std::numeric_limits<std::size_t>::max());
    /// The id of the row at a place; nothing out of range.
    std::optional<std::int64_t> rowidAtIndex(std::uint64_t index, std::string_view group);

    // The same through mappings, which must be on this snapshot.
    std::optional<YapDatabaseCollectionKey> keyAtIndexPath(IndexPath path,
                                                           const YapDatabaseViewMappings& mappings);
    Value objectAtIndexPath(IndexPath path, const YapDatabaseViewMappings& mappings);
    /// Nothing when the row is not in the view or not mapped.
    std::optional<IndexPath> indexPathForKey(std::string_view key, std::string_view collection,
                                             const YapDatabaseViewMappings& mappings);

    /// Moves the mappings to this snapshot and tells what a list must do that showed them before:
    /// see YapDatabaseViewRowChange.h. The notifications are those of the connection's move; where
    /// there are none, or none that the mappings have not seen, nothing happens.
    ///
    /// After commits of other processes both states are compared. Which rows were written is then
    /// unknown: each that stayed counts as updated, and one that was removed and written anew under
    /// its key is a deletion, without its key, and an insertion. There, where more than 20000 rows
    /// are shown or the view was not in memory as a whole, and where mappings and notifications do
    /// not fit together, everything that was shown is deleted, without its keys, and everything
    /// that is to be shown inserted.
    void getSectionChanges(std::vector<YapDatabaseViewSectionChange>* sections,
                           std::vector<YapDatabaseViewRowChange>* rows,
                           const YapDatabaseNotifications& notifications,
                           YapDatabaseViewMappings& mappings);

    // Questions to a notification list about the view of that name, which need no transaction and
    // move nothing: whether rows came, went, moved or are to be shown again. True after commits of
    // other processes.
    static bool hasChangesForNotifications(std::string_view view,
                                           const YapDatabaseNotifications& list);
    static bool hasChangesForGroup(std::string_view group, std::string_view view,
                                   const YapDatabaseNotifications& list);
    static bool hasChangesForAnyGroups(const std::vector<String>& groups, std::string_view view,
                                       const YapDatabaseNotifications& list);

    // For views on views.

    /// With all that the transaction wrote. Throws detail::ViewFailure.
    virtual const detail::ViewState& state() = 0;
    virtual detail::ViewNodeSource& source() = 0;
    /// What the transaction did to the view so far, against the snapshot that it began with; valid
    /// until it does more. The number changes with it; 0: nothing. Throws detail::ViewFailure.
    virtual const std::vector<YapDatabaseViewOperation>& rowChanges() = 0;
    virtual std::uint64_t changeNumber() = 0;
    /// Throws detail::ViewFailure.
    virtual std::optional<YapDatabaseViewPlace> placeOfRow(std::int64_t rowid) = 0;
    /// False when there is no such row.
    bool keyOfRow(std::int64_t rowid, YapDatabaseCollectionKey* row) {
        return context_.keyForRowid(rowid, row);
    }
    /// False where finding the place of a row means a walk over its group.
    virtual bool findsPlacesQuickly() const { return true; }

protected:
    explicit YapDatabaseViewTransaction(YapDatabaseExtensionContext& context) : context_(context) {}
    YapDatabaseExtensionContext& context() noexcept { return context_; }
    /// Runs a question; a failure becomes the transaction's error.
    template <class Question>
    void ask(const Question& question);
    void noteFailure(std::string_view what);

private:
    YapDatabaseExtensionContext& context_;
};

}  // namespace qsml
