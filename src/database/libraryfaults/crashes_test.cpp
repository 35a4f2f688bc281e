// Every point of whole workloads at which the process or the power can go: what is on the disk then
// is the library after the last acknowledged commit, or after the one that was under way.
#include <gtest/gtest.h>

#include "database/libraryfaults/CrashingLibrary.h"

namespace qsml {
namespace {

namespace content = sampleContent;

class GivenACrash : public CrashingLibrary {};

TEST_F(GivenACrash, WhenTracksAreImportedThenEachCommitIsWholeOrAbsent) {
    prepare(10);
    recordOpen([&] {
        const int single = static_cast<int>(testScale(40, 80));
        for (int track = 10; track < single; ++track) {
            commit([&](auto& t) { return content::importTrack(t, track); });
            if (track % 10 == 5) checkpoint();
        }
        library_.settle();
        commit([&](auto& t) {
            bool isDone = true;
            for (int track = single; track < single + 40; ++track)
                isDone &= content::importTrack(t, track);
            return isDone;
        });
    });
    crashEverywhere();
}

TEST_F(GivenACrash, WhenASessionIsPlayedThenEachCommitIsWholeOrAbsent) {
    prepare(30);
    recordOpen([&] {
        for (int step = 0; step < static_cast<int>(testScale(60, 300)); ++step) {
            commit([&](auto& t) { return content::edit(t, step, 30); });
            if (step % 20 == 19) checkpoint();
            if (step % 10 == 4) library_.settle();
        }
        commit([](auto& t) { return content::removePlaylist(t, 0); });
        commit([](auto& t) {
            return t.removeObjectForKey("folder", PLXDatabaseCollectionMediaItemPlaylists);
        });
    });
    crashEverywhere();
}

TEST_F(GivenACrash, WhenTheLibraryNeedNotSurviveLossOfPowerThenItIsStillOneOfItsCommits) {
    library_.options.synchronous = YapDatabaseSynchronous::normal;
    prepare(10);
    recordOpen([&] {
        for (int track = 10; track < 20; ++track)
            commit([&](auto& t) { return content::importTrack(t, track); });
    });
    std::size_t lost = 0;
    const std::uint64_t first = rowsAt_.begin()->first, last = rowsAt_.rbegin()->first;
    forEachCrash(base_, trace_.events(), {first, last}, 2, testScale(3, 1),
                 [&](const FileImage& image, Allowed allowed, bool isPowerLoss) {
                     if (!isPowerLoss) return expectSound(image, allowed);
                     expectSound(image, {first, allowed.last});
                     lost += images_.read(image).snapshot < allowed.first;
                 });
    EXPECT_GT(lost, 0u) << "the losses are too mild to tell one promise from the other";
    expectOneContentForEachCommit();
    report();
}

}  // namespace
}  // namespace qsml
