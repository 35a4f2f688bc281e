#include <cstdlib>
#include <set>

#include "database/PLXViewDataSource.h"
#include "foundation/Log.h"
#include "foundation/UUID.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseException.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseViewMappings.h"

namespace qsml {

std::shared_ptr<PLXViewDataSource> PLXViewDataSource::initWithView(std::string parentView,
                                                                   std::vector<String> groups,
                                                                   Filter filter,
                                                                   PLXDatabaseManager& manager) {
    const std::shared_ptr<PLXViewDataSource> source(
        new PLXViewDataSource(PLXViewDataSourceType::filteredView, std::move(groups)));
    source->connectTo(manager);
    source->filter_ = std::move(filter);
    const std::string name = "viewdatasource-" + UUID::random().UUIDString().str();
    source->registerFilteredView(parentView, name);
    source->followView(name);
    return source;
}

void PLXViewDataSource::registerFilteredView(const std::string& parentView,
                                             const std::string& name) {
    const auto view = std::make_shared<YapDatabaseFilteredView>(
        parentView, viewFilteringForFilter(filter_, groups_), "0");
    if (database_ && database_->registerExtension(view, name)) filteredViewName_ = name;
}

YapDatabaseViewFiltering PLXViewDataSource::viewFilteringForFilter(
    Filter filter, const std::vector<String>& groups) {
    return [filter = std::move(filter),
            shown = std::set<String, std::less<>>(groups.begin(), groups.end())](
               YapDatabaseReadTransaction&, std::string_view group, std::string_view collection,
               std::string_view key) {
        return shown.count(group) != 0 && (!filter || filter(collection, key));
    };
}

void PLXViewDataSource::setFilter(Filter filter) {
    filter_ = std::move(filter);
    updateFilteredView();
}

void PLXViewDataSource::updateFilteredView() {
    if (type_ != PLXViewDataSourceType::filteredView || !viewMappings_) return;
    if (filteredViewName_.empty() || !database_->registeredExtension(filteredViewName_)) return;
    bgConnection_->asyncReadWrite(
        [name = filteredViewName_, filtering = viewFilteringForFilter(
                                       filter_, viewMappings_->allGroups())](auto& transaction) {
            auto* view = transaction.template ext<YapDatabaseFilteredViewTransaction>(name);
            if (!view) return;  // gone meanwhile
            // Asked here, behind all earlier calls: each finds the tag of the one before it.
            const long number = std::strtol(view->versionTag().c_str(), nullptr, 10);
            view->setFiltering(filtering, std::to_string(number + 1));
        });
}

namespace {

/// True when the view is gone. False with the error when it is not, also where the calling thread
/// is inside a transaction that the work would have to wait for.
bool unregister(YapDatabase& database, const std::string& name, Error* error) {
    try {
        return database.unregisterExtension(name, error) || !database.registeredExtension(name);
    } catch (const YapDatabaseException& exception) {
        error->description = exception.what();
        return false;
    }
}

void unregisterAtLast(YapDatabase& database, const std::string& name) {
    Error error;
    if (!unregister(database, name, &error))
        log("-[PLXViewDataSource dealloc]", __LINE__,
            "The filtered view stays until the library is closed: " + error.description);
}

}  // namespace

PLXViewDataSource::~PLXViewDataSource() {
    observation_.cancel();
    Error error;
    if (filteredViewName_.empty() || unregister(*database_, filteredViewName_, &error)) return;
    // Inside a write transaction, most likely: again when it and this empty one have ended.
    bgConnection_->asyncReadWrite([](auto&) {},
                                  [database = database_, name = filteredViewName_](const Error&) {
                                      unregisterAtLast(*database, name);
                                  });
}

}  // namespace qsml
