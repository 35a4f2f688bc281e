#include "Importer.h"

#include <QSMediaLibraryData/foundation/DispatchQueue.h>

#include "FileWalker.h"
#include "TagReader.h"

namespace qsml::app {

Importer::Importer(ImportOptions options, TrackStore& store, ImportReport& report)
    : options_(std::move(options)), store_(store), report_(report) {}

// A future of std::async waits for its thread, which uses what goes away here.
Importer::~Importer() {
    if (storing_.valid()) storing_.wait();
}

void Importer::run() {
    if (report_.showsProgress()) countFiles();
    FileWalker walker(options_.paths);
    while (const auto entry = walker.next()) {
        take(*entry);
        if (isBatchFull()) startStoring();
    }
    startStoring();
    finishStoring();
}

/// A walk of its own, for the progress only: the list itself is never kept.
void Importer::countFiles() {
    FileWalker walker(options_.paths);
    std::uint64_t total = 0;
    while (const auto entry = walker.next()) total += entry->kind != WalkedEntry::Kind::failed;
    report_.setTotalFiles(total);
}

void Importer::take(const WalkedEntry& entry) {
    if (entry.kind == WalkedEntry::Kind::failed) {
        report_.failed(entry.path, entry.reason);
        return;
    }
    report_.lookedAtFile();
    if (entry.kind == WalkedEntry::Kind::refused)
        report_.refused(entry.path, entry.reason);
    else
        takeFile(entry.path);
}

void Importer::takeFile(const std::string& path) {
    TagReading reading = readTags(path, options_.tags);
    if (!reading.tags) {
        report_.refused(path, reading.refusal);
        return;
    }
    const auto first = firstFiles_.remember(identityOf(*reading.tags), path);
    if (first) report_.merged(path, *first);
    batchTextSize_ += reading.tags->textSize();
    batch_.push_back(
        {path, std::move(*reading.tags), std::move(reading.repairs), first.has_value()});
}

/// Long comments and lyrics fill a batch early, which bounds the memory.
bool Importer::isBatchFull() const {
    constexpr std::size_t mostTextBytes = 8u << 20;
    return batch_.size() >= options_.tracksPerCommit || batchTextSize_ >= mostTextBytes;
}

void Importer::startStoring() {
    finishStoring();
    if (batch_.empty()) return;
    storedBatch_ = std::move(batch_);
    batch_.clear();
    batchTextSize_ = 0;
    storing_ = std::async(std::launch::async, [this] { return store_.store(storedBatch_); });
}

void Importer::report(const ReadTrack& track, const TrackStore::Outcome& outcome) {
    using Kind = TrackStore::Outcome::Kind;
    if (outcome.kind == Kind::alreadyThere && outcome.isPlaced)
        report_.located(track.path, outcome.uuid);
    if (track.isSecondFile) return;  // it was told when it was met
    switch (outcome.kind) {
        case Kind::added:
            report_.added(track.path, outcome.uuid, track.repairs);
            break;
        case Kind::alreadyThere:
            report_.alreadyThere();
            break;
        case Kind::refused:
            report_.refused(track.path, outcome.reason);
            break;
    }
}

void Importer::finishStoring() {
    if (!storing_.valid()) return;
    const auto outcomes = storing_.get();
    const ImportCounts before = report_.counts();
    for (std::size_t i = 0; i < outcomes.size(); ++i) report(storedBatch_[i], outcomes[i]);
    const ImportCounts& now = report_.counts();
    if (now.added > before.added || now.located > before.located) report_.committed();
    MainQueue::runPending();  // moves the user interface's connection on, so that the log can
                              // shrink
}

}  // namespace qsml::app
