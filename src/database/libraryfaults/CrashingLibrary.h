#pragma once
#include <gtest/gtest.h>

#include <set>

#include "database/libraryfaults/CrashImages.h"
#include "database/libraryfaults/LibraryAtWork.h"
#include "database/libraryfaults/sampleContent.h"
#include "testing/CrashReplay.h"
#include "testing/FaultyFiles.h"
#include "testing/LogCapture.h"
#include "testing/testScale.h"

namespace qsml {

/// A library whose files are traced while it works, and every crash that the trace allows.
class CrashingLibrary : public ::testing::Test {
protected:
    /// Never taken out of service: a thread of the pool may be the last to hold a file.
    static FaultyFiles& tracedFiles() {
        static FaultyFiles& files = *new FaultyFiles;
        files.skipSyncs();  // They are written down; what they promise is for the replay to see to.
        return files;
    }
    void SetUp() override {
        library_.options.vfsName = tracedFiles().vfsName();
        library_.options.checkpointBytes = 160 << 10;  // some twenty pages: many checkpoints
    }

    // ---- making a trace

    void open() {
        Error error;
        ASSERT_TRUE(library_.open(&error)) << error.description;
    }
    /// Tracks with their lists, closed again; the image that the workload begins with.
    void prepare(int tracks) {
        open();
        ASSERT_TRUE(library_.write([&](auto& transaction) {
            for (int track = 0; track < tracks; ++track)
                EXPECT_TRUE(sampleContent::importTrack(transaction, track));
            EXPECT_TRUE(sampleContent::addLists(transaction, tracks));
        }));
        library_.close();
    }
    void commit(const std::function<bool(sampleContent::Writer&)>& block) {
        const auto before = library_.database().snapshot();
        ASSERT_TRUE(library_.write([&](auto& transaction) { ASSERT_TRUE(block(transaction)); }));
        const auto snapshot = library_.database().snapshot();
        ASSERT_LE(snapshot, before + 1) << "one operation, one commit";
        acknowledge(snapshot);
    }
    void checkpoint() { EXPECT_TRUE(library_.database().checkpoint()); }
    void acknowledge(std::uint64_t snapshot) {
        rowsAt_[snapshot] = CrashImages::rowsOf(library_.path());
        trace_.mark(snapshot);
    }
    void record(const std::function<void()>& workload) {
        base_ = imageOf(library_.path());
        tracedFiles().setTrace(&trace_);
        workload();
        library_.close();
        tracedFiles().setTrace(nullptr);
    }
    /// The same of a workload that begins with an open library.
    void recordOpen(const std::function<void()>& workload) {
        record([&] {
            open();
            acknowledge(library_.database().snapshot());
            workload();
        });
    }

    // ---- crashing

    /// The commits that an image may end with.
    struct Allowed {
        std::uint64_t first = 0;  ///< the last that was acknowledged
        std::uint64_t last = 0;   ///< the one under way
    };
    using Visit = std::function<void(const FileImage& image, Allowed allowed, bool isPowerLoss)>;

    /// Each point of the trace: what a kill leaves there, and some of what a loss of power leaves.
    void forEachCrash(const FileImage& base, const std::vector<FileEvent>& events, Allowed allowed,
                      std::size_t losses, std::size_t step, const Visit& visit) {
        std::vector<std::uint64_t> nextMark(events.size(), allowed.last);
        for (std::size_t at = events.size(); at-- > 1;)
            nextMark[at - 1] =
                events[at].kind == FileEvent::Kind::mark ? events[at].offset : nextMark[at];
        CrashReplay replay(base);
        visit(base, allowed, false);
        for (std::size_t at = 0; at < events.size() && !HasFailure(); ++at) {
            SCOPED_TRACE("at event " + std::to_string(at) + " of " + std::to_string(events.size()));
            replay.apply(events[at]);
            if (events[at].kind == FileEvent::Kind::mark) allowed.first = events[at].offset;
            allowed.last = std::max(allowed.first, nextMark[at]);
            if (at % step != 0 && events[at].kind != FileEvent::Kind::mark) continue;
            visit(replay.killed(), allowed, false);
            for (std::size_t loss = 0; loss < losses && replay.unsynced() > 0; ++loss)
                visit(replay.afterPowerLoss(random_), allowed, true);
        }
    }
    void expectSound(const FileImage& image, Allowed allowed) {
        const ImageFacts& facts = images_.read(image);
        ++states_;
        EXPECT_EQ(facts.fault, "");
        EXPECT_GE(facts.snapshot, allowed.first) << "an acknowledged commit is lost";
        EXPECT_LE(facts.snapshot, allowed.last) << "a commit came from nowhere";
        const auto rows = rowsAt_.find(facts.snapshot);
        EXPECT_TRUE(rows == rowsAt_.end() || facts.rows == rows->second)
            << "commit " << facts.snapshot << " is not whole";
        snapshots_[facts.snapshot].insert(facts.content);
    }
    /// What the whole library makes of an image: it opens, is sound, and goes on.
    void expectWholeLibrary(const FileImage& image) {
        ++wholes_;
        library_.close();
        writeImage(image, library_.path());
        open();
        EXPECT_EQ(library_.faults(), "");
        EXPECT_TRUE(library_.write([](auto& transaction) {
            EXPECT_TRUE(sampleContent::importTrack(transaction, 1'000'000));
        }));
        library_.close();
    }
    /// Crashes while the library recovers from a crash.
    void expectSoundThroughRecovery(const FileImage& image, Allowed allowed, std::size_t step) {
        writeImage(image, library_.path());
        FileTrace recovery(library_.path());
        tracedFiles().setTrace(&recovery);
        open();
        allowed.last = std::max(allowed.last, library_.database().snapshot());
        library_.close();
        tracedFiles().setTrace(nullptr);
        forEachCrash(image, recovery.events(), allowed, 1, step,
                     [&](const FileImage& again, Allowed allowedThen, bool) {
                         ++compounds_;
                         expectSound(again, allowedThen);
                     });
    }
    /// Where SQLite finds the same commit, it finds the same bytes.
    void expectOneContentForEachCommit() {
        for (const auto& [snapshot, all] : snapshots_)
            EXPECT_EQ(all.size(), 1u) << "commit " << snapshot;
    }
    void report() {
        RecordProperty("events", std::to_string(trace_.events().size()));
        RecordProperty("states", std::to_string(states_));
        RecordProperty("compound", std::to_string(compounds_));
        RecordProperty("wholeLibraries", std::to_string(wholes_));
        std::printf("%zu events, %zu states (%zu in recoveries), %zu contents, %zu libraries\n",
                    trace_.events().size(), states_, compounds_, images_.numberOfContents(),
                    wholes_);
    }

    /// The whole of it, over the trace that was made.
    void crashEverywhere() {
        if (HasFailure()) return;
        const auto start = rowsAt_.begin()->first, end = rowsAt_.rbegin()->first;
        const std::size_t stepOfWholes = testScale(150, 40), stepOfCompounds = testScale(900, 600);
        std::vector<std::pair<FileImage, Allowed>> again;
        forEachCrash(base_, trace_.events(), {start, end}, testScale(1, 7), testScale(2, 1),
                     [&](const FileImage& image, Allowed allowed, bool isPowerLoss) {
                         expectSound(image, allowed);
                         const std::size_t number = isPowerLoss ? ++losses_ : ++kills_;
                         if (number % stepOfWholes == 0) expectWholeLibrary(image);
                         if (isPowerLoss && number % stepOfCompounds == 0)
                             again.emplace_back(image, allowed);
                     });
        expectOneContentForEachCommit();
        for (const auto& [image, allowed] : again)
            expectSoundThroughRecovery(image, allowed, testScale(3, 1));
        report();
        if (testScale(0, 1) == 0) return;
        EXPECT_GE(trace_.events().size(), 5'000u);
        EXPECT_GE(states_, 40'000u);
        EXPECT_GE(compounds_, 2'500u);
        EXPECT_GE(wholes_, 1'000u);
    }

    LogCapture log_;  // rebuilds are told
    TemporaryDirectory directory_;
    LibraryAtWork library_{directory_.file("library.qsml")};
    FileTrace trace_{library_.path()};
    FileImage base_;
    std::map<std::uint64_t, std::string> rowsAt_;  ///< of each acknowledged commit
    CrashImages images_;
    std::map<std::uint64_t, std::set<std::size_t>> snapshots_;
    std::mt19937 random_{20'260'101};  // NOLINT(cert-msc51-cpp): the same losses each time
    std::size_t states_ = 0, compounds_ = 0, losses_ = 0, kills_ = 0, wholes_ = 0;
};

}  // namespace qsml
