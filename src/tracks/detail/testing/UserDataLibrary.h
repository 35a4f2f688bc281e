#pragma once
#include "database/collectionNames.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/PLXMediaItemUserDataSource.h"
#include "tracks/detail/testing/TrackLibrary.h"

namespace qsml {

/// A library with the source of user data.
class UserDataLibrary : public TrackSource<PLXMediaItemUserDataSource> {
protected:
    using Record = PLXMediaItemUserData;
    using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;
    static constexpr auto collection = PLXDatabaseCollectionMediaItemUserData;
    enum class Deck { empty, withTempo };

    /// Stores user data of the title ID; the rating tells them apart.
    void storeUserData(const TitleID& titleID, Deck deck, std::int64_t rating = 0) {
        const auto data = Record::initWithTitleID(titleID);
        data->setManualBPM(deck == Deck::withTempo ? 120.0F : 0.0F);
        data->setRating(rating);
        store(data, collection);
    }
    /// The rating of what is found; -1 when nothing is.
    std::int64_t foundRating(const TitleID& titleID) {
        const auto found = source_.mediaItemUserDataForTitleID(titleID);
        return found ? found->rating() : -1;
    }
    std::shared_ptr<const Record> storedFor(const TitleID& titleID) {
        return stored<Record>(titleID->internalID(), collection);
    }
    std::size_t numberOfTitleIDs(const TitleID& titleID) {
        return storedFor(titleID)->titleIDs()->size();
    }
    std::shared_ptr<const Record> findOrMake(const TitleID& titleID, bool createIfNeeded) {
        return source_.mediaItemUserDataForTitleID(titleID, createIfNeeded, nullptr, std::nullopt);
    }

    // Four tracks of one ISRC.
    const TitleID own_ = titleIDOf("Own", "DE-A01"), first_ = titleIDOf("First", "DE-A01"),
                  second_ = titleIDOf("Second", "DE-A01"), third_ = titleIDOf("Third", "DE-A01");
};

}  // namespace qsml
