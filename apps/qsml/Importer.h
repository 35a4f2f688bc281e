#pragma once
#include <future>
#include <string>
#include <vector>

#include "FirstFiles.h"
#include "ImportReport.h"
#include "TrackStore.h"

namespace qsml::app {

struct WalkedEntry;

struct ImportOptions {
    std::vector<std::string> paths;
    TagOptions tags;
    StoreOptions store;
    std::size_t tracksPerCommit = 256;
};

/// Brings files into the library, batch by batch. Tags are read outside of transactions, while the
/// batch before is being stored on a thread of its own; at most two batches are in memory. A run
/// that was stopped, at any instant, is completed by running it again.
class Importer {
public:
    Importer(ImportOptions options, TrackStore& store, ImportReport& report);
    ~Importer();

    /// Throws CommandFailure when the library cannot be read or written.
    void run();

private:
    void countFiles();
    void take(const WalkedEntry& entry);
    void takeFile(const std::string& path);
    bool isBatchFull() const;
    void startStoring();
    void finishStoring();
    void report(const ReadTrack& track, const TrackStore::Outcome& outcome);

    ImportOptions options_;
    TrackStore& store_;
    ImportReport& report_;
    FirstFiles firstFiles_;
    std::vector<ReadTrack> batch_;
    std::size_t batchTextSize_ = 0;
    std::vector<ReadTrack> storedBatch_;  // the storing thread reads it
    std::future<std::vector<TrackStore::Outcome>> storing_;
};

}  // namespace qsml::app
