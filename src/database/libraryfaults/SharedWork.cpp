#include "database/libraryfaults/SharedWork.h"

#include "database/libraryfaults/sampleContent.h"
#include "store/views/YapDatabaseSearchResultsView.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

namespace content = sampleContent;
constexpr int sharedTracks = 30;

/// One way of many to write what is seen, so that two processes can compare it.
std::string textOf(const LibrarySight& sight, const std::string& lists) {
    std::size_t rows = 0, views = 0, found = 0;
    const std::hash<std::string> hash;
    for (const auto& [key, digest] : sight.rows)
        rows = rows * 31 + hash(key + std::to_string(digest));
    for (const auto& [name, groups] : sight.views)
        for (const auto& [group, keys] : groups)
            for (const auto& key : keys) views = views * 31 + hash(name + group + key);
    for (const auto& [name, keys] : sight.found) found = found * 31 + hash(name + keys);
    return std::to_string(sight.rows.size()) + " rows " + std::to_string(rows) + " views " +
           std::to_string(views) + " found " + std::to_string(found) + " lists " +
           std::to_string(lists.size()) + "/" + std::to_string(hash(lists)) +
           (sight.isWhole ? "" : " (could not be read)");
}

}  // namespace

SharedWork::~SharedWork() { list_ = filtered_ = nullptr; }

bool SharedWork::open(Error* error) {
    if (!library_.open(error)) return false;
    delegate_ = std::make_shared<PLXViewDataSourceDelegate>();
    delegate_->didInsertRowAtIndexPath = [](PLXViewDataSource& source, IndexPath path) {
        (void)source.itemAtIndexPath(path);
    };
    list_ = PLXViewDataSource::initWithView("mediaView", {"mediaItem", "artist", "playlist"},
                                            library_.manager());
    filtered_ = PLXViewDataSource::initWithView(
        "mediaItemsView", {"mediaItem"}, [](auto, std::string_view key) { return key[0] < '8'; },
        library_.manager());
    list_->setDelegate(delegate_);
    filtered_->setDelegate(delegate_);
    library_.announcements().resume();  // served from now on
    return true;
}

std::optional<std::uint64_t> SharedWork::countPlay(YapDatabaseConnection& connection, int track,
                                                   int step) {
    std::uint64_t plays = 0;
    bool isWritten = false;
    const bool isCommitted = connection.readWrite([&](auto& transaction) {
        isWritten = content::countPlay(transaction, track) &&
                    (step % 5 != 0 || content::moveToFront(transaction, track % 3)) &&
                    (step % 7 != 0 ||
                     content::retitle(transaction, track, "renamed " + std::to_string(step)));
        const auto data = transaction.template object<PLXMediaItemUserData>(
            content::keyOf(track), PLXDatabaseCollectionMediaItemUserData);
        if (data) plays = data->playCount();
        if (!isWritten || !data) transaction.rollback();
    });
    if (!isCommitted || !isWritten || plays == 0) return std::nullopt;
    return plays;
}

bool SharedWork::edit(const std::string& process, int commits) {
    bool isDone = true;
    for (int step = 0; step < commits && isDone; ++step) {
        const int track = step * 7 % sharedTracks;
        const std::string name = process + "-" + std::to_string(step);
        isDone = library_.write([&](auto& t) {
            switch (step % 5) {
                case 0:
                    isDone = content::addToPlaylist(t, step % 3, track, "item " + name);
                    break;
                case 1:
                    isDone = content::retitle(t, track, "renamed " + name);
                    break;
                case 2:
                    isDone = content::setCue(t, track, step % 8);
                    break;
                case 3:
                    isDone = content::moveToFront(t, step % 3);
                    break;
                default:
                    isDone = content::renameArtist(t, track, "renamed " + name);
                    break;
            }
            // What no other process writes: it counts the commits of this one.
            isDone = isDone && content::countPlay(t, process == "a" ? 0 : 1);
        }) && isDone;
    }
    return isDone;
}

std::string SharedWork::seen() {
    library_.write([](auto& transaction) {
        auto* const search = transaction.template ext<YapDatabaseSearchResultsViewTransaction>(
            PLXDatabaseExtensionSearchResultsView);
        if (search) search->performSearchFor("renamed*");
    });
    // Finds out about the other process; its commits are then announced.
    library_.background().read([](auto&) {});
    library_.announcements().suspend();
    library_.settle();
    std::string lists;
    for (const auto& source : {list_, filtered_})
        for (std::uint64_t section = 0; section < source->numberOfSections(); ++section)
            for (std::uint64_t row = 0; row < source->numberOfRowsInSection(section); ++row) {
                const auto record =
                    objectOfClass<PLXDatabaseObject>(source->itemAtIndexPath({section, row}));
                lists += (record ? record->uuid().str() : "(nil)") + " ";
            }
    const std::string text = textOf(library_.sight(), lists);
    library_.announcements().resume();
    return text;
}

}  // namespace qsml
