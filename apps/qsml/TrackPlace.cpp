#include "TrackPlace.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocation.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocationSource.h>

#include "trackLocations.h"

namespace qsml::app {

TrackPlace::TrackPlace(std::shared_ptr<const PLXMediaItemTitleID> titleID, const std::string& path)
    : titleID_(std::move(titleID)), url_(URL::fileURLWithPath(absolutePath(path))) {}

TrackPlace::State TrackPlace::state(bool forgetsMissing,
                                    const YapDatabaseReadTransaction& transaction) {
    constexpr auto collection = PLXDatabaseCollectionLocalMediaItemLocations;
    const String key = titleID_->internalID();
    const auto stored = transaction.object<PLXMediaItemLocation>(key, collection);
    if (!stored)
        return transaction.hasObjectForKey(key, collection) ? State::damaged : State::isNew;
    bool isKnown = false;
    for (const URL& uri : stored->sourceURIs().value_or(URLSet())) {
        if (uri == url_)
            isKnown = true;
        else if (forgetsMissing && uri.isFileURL() && !isReadableFile(uri.path()))
            gone_.push_back(uri);
    }
    return isKnown && gone_.empty() ? State::known : State::isNew;
}

bool TrackPlace::store(bool isSecondFile, YapDatabaseReadWriteTransaction& transaction) const {
    const auto location =
        PLXMediaItemLocation::initWithTitleID(titleID_, url_, PLXMediaItemLocationTypeLocal);
    return PLXMediaItemLocationSource::sharedInstance().setMediaItemLocation(
        location, isSecondFile ? std::nullopt : std::optional(url_), URLSet(gone_), transaction);
}

}  // namespace qsml::app
