#pragma once
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "database/PLXDatabaseManager.h"
#include "database/PLXViewDataSourceDelegate.h"
#include "foundation/IndexPath.h"
#include "foundation/NotificationCenter.h"
#include "foundation/String.h"
#include "foundation/Value.h"
#include "store/views/YapDatabaseFilteredView.h"

namespace qsml {

class YapDatabaseReadTransaction;
class YapDatabaseViewMappings;

enum class PLXViewDataSourceType : std::int64_t { view = 0, filteredView = 1, manual = 2 };

/// Sections and rows of a list on screen, over a view of the library, a filtered copy of one, or
/// what callbacks answer. Follows the commits, tells its delegate what changed, and keeps the
/// selection on its record.
///
/// Confined to the thread that delivers the notifications of the manager, whose UI connection it
/// reads (so not from inside a block of that connection); it may be let go on any. Made before the
/// manager's set-up is through, as in an extension provider, it stays without rows.
class QSML_EXPORT PLXViewDataSource : public std::enable_shared_from_this<PLXViewDataSource> {
public:
    /// Whether the row of that collection and key is shown. Runs on the thread of whatever
    /// transaction changes the parent view. Where it is empty every row is shown.
    using Filter = std::function<bool(std::string_view collection, std::string_view key)>;
    using SectionProvider = std::function<std::uint64_t()>;
    using RowProvider = std::function<std::uint64_t(std::uint64_t section)>;
    using ItemProvider = std::function<Value(IndexPath path)>;
    using ItemIndexPathProvider =
        std::function<std::optional<IndexPath>(std::string_view key, std::string_view collection)>;

    /// A part of a group; the offset counts from its beginning.
    struct Range {
        std::uint64_t offset = 0;
        std::uint64_t length = 0;
        friend bool operator==(const Range&, const Range&) = default;
    };
    static constexpr Range wholeGroup{0, std::numeric_limits<std::int64_t>::max()};

    static std::shared_ptr<PLXViewDataSource> initWithView(
        std::string view, std::vector<String> groups,
        PLXDatabaseManager& manager = PLXDatabaseManager::sharedManager());
    /// Registers a filtered view of its own in a synchronous write; inside a write block that
    /// throws YapDatabaseException. Rows arrive with the notification of that commit. Where the
    /// view cannot be registered, as over a parent view that does not exist, the list stays without
    /// rows: no error is told.
    static std::shared_ptr<PLXViewDataSource> initWithView(
        std::string parentView, std::vector<String> groups, Filter filter,
        PLXDatabaseManager& manager = PLXDatabaseManager::sharedManager());
    /// Uses no database and follows none. Empty callbacks answer 0, nil and nothing.
    static std::shared_ptr<PLXViewDataSource> initManualViewDataSourceWithSectionProvider(
        SectionProvider sectionProvider, RowProvider rowProvider, ItemProvider itemProvider,
        ItemIndexPathProvider itemIndexPathProvider);
    /// Takes the filtered view away. Inside a write transaction, where that cannot be, it goes
    /// after it.
    ~PLXViewDataSource();
    PLXViewDataSource(const PLXViewDataSource&) = delete;
    PLXViewDataSource& operator=(const PLXViewDataSource&) = delete;

    /// As they were given. A name that repeats another or is nil makes no section, so the group of
    /// a section is viewMappings()->groupForSection().
    const std::vector<String>& groups() const { return groups_; }
    const Filter& filter() const { return filter_; }
    /// Of a filtered view: its rows are filtered anew in the background and reach the list as a
    /// commit does. Of several calls all take effect, the last one last.
    void setFilter(Filter filter);
    std::shared_ptr<PLXViewDataSourceDelegate> delegate() const { return delegate_.lock(); }
    /// Not kept alive.
    void setDelegate(const std::shared_ptr<PLXViewDataSourceDelegate>& delegate) {
        delegate_ = delegate;
    }
    const std::optional<IndexPath>& indexPathForSelectedRow() const { return selectedPath_; }
    /// Remembers the record of that row, so that the selection follows it through the next update.
    void setIndexPathForSelectedRow(std::optional<IndexPath> path);
    PLXViewDataSourceType type() const { return type_; }
    /// Null for manual ones.
    const std::shared_ptr<YapDatabaseViewMappings>& viewMappings() const { return viewMappings_; }
    const SectionProvider& sectionProvider() const { return sectionProvider_; }
    const RowProvider& rowProvider() const { return rowProvider_; }
    const ItemProvider& itemProvider() const { return itemProvider_; }
    const ItemIndexPathProvider& itemIndexPathProvider() const { return itemIndexPathProvider_; }
    /// Of the record that the selection follows; nil when it follows none.
    const String& selectedItemKey() const { return selectedItemKey_; }
    const String& selectedCollection() const { return selectedCollection_; }

    /// Shows only a part of the group, from now on and without telling the delegate. Called while
    /// other lists are told of commits, it takes these in, and they are not told to this list any
    /// more. Nothing happens for manual ones and for groups that are not shown.
    void setRange(Range range, std::string_view group);
    /// With the length that exists; wholeGroup where no range was set.
    Range rangeForGroup(std::string_view group) const;

    /// Rows of the given groups that the filter lets through; nothing of the object is consulted.
    static YapDatabaseViewFiltering viewFilteringForFilter(Filter filter,
                                                           const std::vector<String>& groups);
    /// Filters anew with the current filter. Nothing happens unless the type is filteredView and
    /// the view is registered.
    void updateFilteredView();

    std::uint64_t numberOfSections() const;
    std::uint64_t numberOfRowsInSection(std::uint64_t section) const;
    /// Nil where there is none.
    Value itemAtIndexPath(IndexPath path) const;
    std::optional<IndexPath> indexPathForItemWithKey(std::string_view key,
                                                     std::string_view collection) const;

    /// Handles PLXUIDatabaseConnectionDidUpdateNotification.
    void databaseDidUpdate(const Notification& notification);

private:
    struct Changes;

    PLXViewDataSource(PLXViewDataSourceType type, std::vector<String> groups);
    void connectTo(PLXDatabaseManager& manager);
    void registerFilteredView(const std::string& parentView, const std::string& name);
    void followView(std::string view);
    void read(const std::function<void(YapDatabaseReadTransaction&)>& block) const;
    void tellDelegate(const std::shared_ptr<const Changes>& changes);
    static void tell(PLXViewDataSource& source, const PLXViewDataSourceDelegate& delegate,
                     const Changes& changes);
    void followSelectedRecord();

    const PLXViewDataSourceType type_;
    const std::vector<String> groups_;
    Filter filter_;
    std::weak_ptr<PLXViewDataSourceDelegate> delegate_;
    std::optional<IndexPath> selectedPath_;
    std::shared_ptr<YapDatabaseViewMappings> viewMappings_;
    SectionProvider sectionProvider_;
    RowProvider rowProvider_;
    ItemProvider itemProvider_;
    ItemIndexPathProvider itemIndexPathProvider_;
    String selectedItemKey_;
    String selectedCollection_;

    std::shared_ptr<YapDatabase> database_;
    std::shared_ptr<YapDatabaseConnection> uiConnection_;
    std::shared_ptr<YapDatabaseConnection> bgConnection_;
    std::string filteredViewName_;  // empty unless registered
    NotificationCenter::Token observation_;
};

}  // namespace qsml
