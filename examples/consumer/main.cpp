// Stores a track in a library, and reads it back.
//   consumer FILE
#include <QSMediaLibraryData/QSMediaLibraryData.h>

#include <cstdio>
#include <memory>

using namespace qsml;

namespace {

int failed(const char* what, const Error& error) {
    std::fprintf(stderr, "%s: %s\n", what, error.description.c_str());
    return 1;
}

std::shared_ptr<PLXMediaItem> newTrack() {
    const auto titleID = PLXMediaItemTitleID::titleIDWithTitle("A Title", "An Artist", 215.4F, {});
    auto track = PLXMediaItem::initWithTitleID(titleID);
    track->setTitle("A Title");
    track->setBpm(127.5F);
    return track;
}

}  // namespace

int main(int argc, char** argv) {
    std::printf("QSMediaLibraryData %s\n", QSMediaLibraryDataVersionString);
    std::printf("number %g\n", QSMediaLibraryDataVersionNumber);
    if (argc != 2) {
        std::fputs("usage: consumer FILE\n", stderr);
        return 2;
    }

    Error error;
    auto& manager = PLXDatabaseManager::sharedManager();
    if (!manager.setupDatabaseWithFileURL(URL::fileURLWithPath(argv[1]), &error))
        return failed("not opened", error);

    const auto track = newTrack();
    const auto& connection = manager.bgDatabaseConnection();
    const auto store = [&](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(track, track->uuid(), PLXDatabaseCollectionMediaItems);
    };
    if (!connection->readWrite(store, &error)) return failed("not stored", error);

    std::shared_ptr<const PLXMediaItem> stored;
    const auto load = [&](YapDatabaseReadTransaction& transaction) {
        stored = transaction.object<PLXMediaItem>(track->uuid(), PLXDatabaseCollectionMediaItems);
    };
    if (!connection->read(load, &error) || !stored) return failed("not read", error);
    std::printf("stored \"%s\", %g BPM\n", stored->title().c_str(),
                static_cast<double>(stored->bpm()));
    return 0;
}
