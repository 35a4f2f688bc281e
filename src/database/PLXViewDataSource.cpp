#include "database/PLXViewDataSource.h"

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

PLXViewDataSource::PLXViewDataSource(PLXViewDataSourceType type, std::vector<String> groups)
    : type_(type), groups_(std::move(groups)) {}

std::shared_ptr<PLXViewDataSource> PLXViewDataSource::initWithView(std::string view,
                                                                   std::vector<String> groups,
                                                                   PLXDatabaseManager& manager) {
    std::shared_ptr<PLXViewDataSource> source(
        new PLXViewDataSource(PLXViewDataSourceType::view, std::move(groups)));
    source->connectTo(manager);
    source->followView(std::move(view));
    return source;
}

std::shared_ptr<PLXViewDataSource> PLXViewDataSource::initManualViewDataSourceWithSectionProvider(
    SectionProvider sectionProvider, RowProvider rowProvider, ItemProvider itemProvider,
    ItemIndexPathProvider itemIndexPathProvider) {
    std::shared_ptr<PLXViewDataSource> source(
        new PLXViewDataSource(PLXViewDataSourceType::manual, {}));
    source->sectionProvider_ = std::move(sectionProvider);
    source->rowProvider_ = std::move(rowProvider);
    source->itemProvider_ = std::move(itemProvider);
    source->itemIndexPathProvider_ = std::move(itemIndexPathProvider);
    return source;
}

void PLXViewDataSource::connectTo(PLXDatabaseManager& manager) {
    uiConnection_ = manager.uiDatabaseConnection();
    if (!uiConnection_) return;  // not set up, or still at it, as in an extension provider
    database_ = manager.database();
    bgConnection_ = manager.bgDatabaseConnection();
}

void PLXViewDataSource::followView(std::string view) {
    viewMappings_ = YapDatabaseViewMappings::initWithGroups(groups_, std::move(view));
    read([&](auto& transaction) { viewMappings_->updateWithTransaction(transaction); });
    // Of every sender; but not of another manager's connection, which has another file and thread.
    observation_ = NotificationCenter::defaultCenter().addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification), nullptr,
        [weak = weak_from_this(),
         own = static_cast<const void*>(uiConnection_.get())](const Notification& notification) {
            const auto* moved = notification.info<const void*>(PLXUIDatabaseConnectionKey);
            if (moved && *moved != own) return;
            if (const auto self = weak.lock()) self->databaseDidUpdate(notification);
        });
}

void PLXViewDataSource::read(const std::function<void(YapDatabaseReadTransaction&)>& block) const {
    if (uiConnection_) uiConnection_->read(block);
}

void PLXViewDataSource::setRange(Range range, std::string_view group) {
    if (!viewMappings_) return;
    viewMappings_->setRangeOptions(
        YapDatabaseViewRangeOptions::fixedRange(range.length, range.offset), group);
    read([&](auto& transaction) { viewMappings_->updateWithTransaction(transaction); });
}

PLXViewDataSource::Range PLXViewDataSource::rangeForGroup(std::string_view group) const {
    const auto options = viewMappings_ ? viewMappings_->rangeOptionsForGroup(group) : std::nullopt;
    return options ? Range{options->offset, options->length} : wholeGroup;
}

std::uint64_t PLXViewDataSource::numberOfSections() const {
    if (viewMappings_) return viewMappings_->numberOfSections();
    return sectionProvider_ ? sectionProvider_() : 0;
}

std::uint64_t PLXViewDataSource::numberOfRowsInSection(std::uint64_t section) const {
    if (viewMappings_) return viewMappings_->numberOfItemsInSection(section);
    return rowProvider_ ? rowProvider_(section) : 0;
}

Value PLXViewDataSource::itemAtIndexPath(IndexPath path) const {
    if (!viewMappings_) return itemProvider_ ? itemProvider_(path) : Value();
    Value item;
    read([&](auto& transaction) {
        if (auto* view =
                transaction.template ext<YapDatabaseViewTransaction>(viewMappings_->view()))
            item = view->objectAtIndexPath(path, *viewMappings_);
    });
    return item;
}

std::optional<IndexPath> PLXViewDataSource::indexPathForItemWithKey(
    std::string_view key, std::string_view collection) const {
    if (!viewMappings_)
        return itemIndexPathProvider_ ? itemIndexPathProvider_(key, collection) : std::nullopt;
    std::optional<IndexPath> path;
    read([&](auto& transaction) {
        if (auto* view =
                transaction.template ext<YapDatabaseViewTransaction>(viewMappings_->view()))
            path = view->indexPathForKey(key, collection, *viewMappings_);
    });
    return path;
}

}  // namespace qsml
