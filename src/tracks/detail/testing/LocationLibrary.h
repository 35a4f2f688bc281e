#pragma once
#include "database/collectionNames.h"
#include "foundation/URLBookmark.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemLocationSource.h"
#include "tracks/detail/testing/TrackLibrary.h"
#include "tracks/qsc_cachedBookmarkDataForURL.h"

namespace qsml {

/// A library with the source of locations, and files to bookmark.
class LocationLibrary : public TrackSource<PLXMediaItemLocationSource> {
protected:
    using Location = PLXMediaItemLocation;
    static constexpr auto locals = PLXDatabaseCollectionLocalMediaItemLocations;
    static constexpr auto globals = PLXDatabaseCollectionGlobalMediaItemLocations;

    void TearDown() override {
        setCachedBookmarkDataForURL({});
        TrackSource::TearDown();
    }

    std::shared_ptr<Location> location(std::int64_t type, std::optional<URLSet> uris = {}) {
        auto made = Location::initWithTitleID(titleID_, {}, type);
        made->setSourceURIs(std::move(uris));
        return made;
    }
    std::shared_ptr<const Location> storedIn(std::string_view collection) {
        return stored<Location>(titleID_->internalID(), collection);
    }
    std::optional<URLSet> storedURIs() { return storedIn(locals)->sourceURIs(); }
    URL fileNamed(std::string_view name) {
        writeFile(directory_.file(name), "music");
        return URL::fileURLWithPath(directory_.file(name));
    }
    std::optional<URL> bookmarkedURL() {
        const auto found = storedIn(locals);
        if (!found || !found->urlBookmarkData()) return std::nullopt;
        return URLByResolvingBookmarkData(*found->urlBookmarkData(), 0, nullptr);
    }
};

}  // namespace qsml
