#include "database/libraryfaults/LibraryOperation.h"

#include "database/PLXViewDataSource.h"
#include "database/libraryfaults/sampleContent.h"
#include "organisation/PLXHistorySessionSource.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemTagGroupSource.h"
#include "organisation/PLXQueue.h"
#include "store/views/YapDatabaseSearchResultsView.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemAnalyzedDataSource.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemLocationSource.h"
#include "tracks/PLXMediaItemSource.h"
#include "tracks/PLXMediaItemTitleIDSource.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/PLXMediaItemUserDataSource.h"

namespace qsml {
namespace {

namespace content = sampleContent;
using Work = std::function<bool()>;
constexpr int newTrack = 1000;

std::shared_ptr<PLXMediaItemLocation> locationOf(int track, std::int64_t type) {
    return PLXMediaItemLocation::initWithTitleID(
        content::titleIDOf(track), URL::withString("store://other/" + std::to_string(track)), type);
}

Work setMediaItem(LibraryAtWork& library) {
    const auto item = PLXMediaItem::initWithTitleID(content::titleIDOf(newTrack));
    item->setTitle("new title");
    return [&library, item = std::shared_ptr<const PLXMediaItem>(item),
            location = locationOf(newTrack, PLXMediaItemLocationTypeGlobal)] {
        return PLXMediaItemSource(library.manager()).setMediaItem(item, location);
    };
}

Work setUserData(LibraryAtWork& library) {
    const auto data = PLXMediaItemUserData::initWithTitleID(content::titleIDOf(3));
    data->setRating(5);
    data->setManualBPM(99);
    return [&library, data = std::shared_ptr<const PLXMediaItemUserData>(data)] {
        return PLXMediaItemUserDataSource(library.manager()).setMediaItemUserData(data);
    };
}

Work createUserData(LibraryAtWork& library) {
    return [&library, titleID = content::titleIDOf(newTrack),
            location = locationOf(newTrack, PLXMediaItemLocationTypeLocal)] {
        return PLXMediaItemUserDataSource(library.manager())
                   .mediaItemUserDataForTitleID(titleID, true, location, std::nullopt) != nullptr;
    };
}

Work setAnalyzedData(LibraryAtWork& library) {
    const auto data = PLXMediaItemAnalyzedData::initWithTitleID(content::titleIDOf(4));
    data->setBpm(77);
    data->setKeySignatureIndex(11);
    return [&library, data = std::shared_ptr<const PLXMediaItemAnalyzedData>(data)] {
        return PLXMediaItemAnalyzedDataSource(library.manager()).setMediaItemAnalyzedData(data);
    };
}

Work createAnalyzedData(LibraryAtWork& library) {
    return [&library, titleID = content::titleIDOf(newTrack)] {
        return PLXMediaItemAnalyzedDataSource(library.manager())
                   .mediaItemAnalyzedDataForTitleID(titleID, true) != nullptr;
    };
}

Work setLocation(LibraryAtWork& library) {
    return [&library, location = std::shared_ptr<const PLXMediaItemLocation>(
                          locationOf(5, PLXMediaItemLocationTypeLocal))] {
        return PLXMediaItemLocationSource(library.manager())
            .setMediaItemLocation(location, std::nullopt, std::nullopt);
    };
}

Work setTitleID(LibraryAtWork& library) {
    const auto source = std::make_shared<PLXMediaItemTitleIDSource>(library.manager());
    return [source, titleID = content::titleIDOf(newTrack)] { return source->setTitleID(titleID); };
}

/// The shared form of an operation on stored lists that makes what is missing.
Work afterRemoving(LibraryAtWork& library, std::string_view key, std::string_view collection,
                   Work work) {
    library.write([&](auto& transaction) { transaction.removeObjectForKey(key, collection); });
    return work;
}

Work makeRoot(LibraryAtWork& library) {
    return afterRemoving(
        library, PLXRootMediaItemPlaylistUUID, PLXDatabaseCollectionMediaItemPlaylists,
        [&library] { return PLXMediaItemPlaylist::rootPlaylist(library.manager()) != nullptr; });
}

Work makeQueue(LibraryAtWork& library) {
    return afterRemoving(library, PLXDefaultQueueUUID, PLXDatabaseCollectionQueues, [&library] {
        return PLXQueue::defaultQueue(library.manager()) != nullptr;
    });
}

Work createSession(LibraryAtWork& library) {
    const auto source = std::make_shared<PLXHistorySessionSource>(library.manager());
    return [source] { return source->createHistorySession(); };
}

Work endSession(LibraryAtWork& library) {
    const auto source = std::make_shared<PLXHistorySessionSource>(library.manager());
    source->setCurrentHistorySessionUUID("session");
    return [source] { return source->endCurrentSession(); };
}

Work storePlaylist(LibraryAtWork& library) {
    const auto playlist = PLXMediaItemPlaylist::initWithUUID("new playlist");
    playlist->setParentUUID("folder");
    return [&library, playlist] {
        const auto copy = playlist->copy();
        bool isStored = false;
        return library.write([&](auto& transaction) {
            const String name =
                PLXMediaItemPlaylist::nextAvailablePlaylistNameWithPrefix("playlist", transaction);
            if (!name) return transaction.rollback();
            copy->setName(name);
            isStored =
                transaction.setObject(copy, copy->uuid(), PLXDatabaseCollectionMediaItemPlaylists);
        }) && isStored;
    };
}

/// An edit of sampleContent in a transaction.
Work writing(LibraryAtWork& library, std::function<bool(content::Writer&)> block) {
    return [&library, block = std::move(block)] {
        bool isDone = false;
        return library.write([&](auto& transaction) {
            isDone = block(transaction);
            if (!isDone) transaction.rollback();
        }) && isDone;
    };
}

Work search(LibraryAtWork& library) {
    return writing(library, [query = std::string("title 1*")](content::Writer& transaction) {
        auto* const view = transaction.ext<YapDatabaseSearchResultsViewTransaction>(
            PLXDatabaseExtensionSearchResultsView);
        if (view) view->performSearchFor(query);
        return view != nullptr;
    });
}

Work lookUp(LibraryAtWork& library) {
    return [&library, titleID = content::titleIDOf(6)] {
        auto& manager = library.manager();
        return PLXMediaItemSource(manager).mediaItemForTitleID(titleID) &&
               PLXMediaItemSource(manager).mediaItemLocationsForTitleID(titleID) &&
               PLXMediaItemUserDataSource(manager).mediaItemUserDataForTitleID(titleID) &&
               PLXMediaItemAnalyzedDataSource(manager).mediaItemAnalyzedDataForTitleID(titleID);
    };
}

}  // namespace

void LibraryOperation::makeSample(LibraryAtWork& library) {
    library.write([](auto& transaction) {
        for (int track = 0; track < sampleTracks; ++track) content::importTrack(transaction, track);
        content::addLists(transaction, sampleTracks);
    });
}

const std::vector<LibraryOperation>& libraryOperations() {
    using content::Writer;
    static const std::vector<LibraryOperation> all = {
        {"SetMediaItem", setMediaItem},
        {"SetUserData", setUserData},
        {"CreateUserData", createUserData},
        {"SetAnalyzedData", setAnalyzedData},
        {"CreateAnalyzedData", createAnalyzedData},
        {"SetLocation", setLocation},
        {"SetTitleID", setTitleID},
        {"MakeRootPlaylist", makeRoot},
        {"MakeDefaultQueue", makeQueue},
        {"CreateHistorySession", createSession},
        {"EndHistorySession", endSession},
        {"StorePlaylist", storePlaylist, true, true},
        {"RemovePlaylistWithItsItems",
         [](LibraryAtWork& library) {
             return writing(library, [](Writer& t) { return content::removePlaylist(t, 1); });
         },
         true, true},
        {"RemoveTrack",
         [](LibraryAtWork& library) {
             return writing(library, [](Writer& t) { return content::removeTrack(t, 2); });
         },
         true, true},
        {"RenameArtistOfTracks",
         [](LibraryAtWork& library) {
             return writing(library,
                            [](Writer& t) { return content::renameArtist(t, 1, "renamed"); });
         },
         true, true},
        {"ImportTracks",
         [](LibraryAtWork& library) {
             return writing(library, [](Writer& t) {
                 bool isDone = true;
                 for (int track = 0; track < 10; ++track)
                     isDone = isDone && content::importTrack(t, newTrack + track);
                 return isDone;
             });
         },
         true, true},
        {"Search", search, true, true},
        {"LookUp", lookUp, false}};
    return all;
}

}  // namespace qsml
