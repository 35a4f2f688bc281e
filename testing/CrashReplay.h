#pragma once
#include <random>
#include <vector>

#include "testing/FileTrace.h"

namespace qsml {

/// Plays a trace again and tells at each point what a crash there leaves on the disk. Confined to
/// one thread.
class CrashReplay {
public:
    /// Everything of the image is on the disk for good.
    explicit CrashReplay(FileImage image) : killed_(image), durable_(std::move(image)) {}

    void apply(const FileEvent& event);

    /// What a killed process leaves: all that it wrote.
    const FileImage& killed() const { return killed_; }

    /// What a loss of power leaves: of what was not synchronised, each write is there, or is not,
    /// or some of its sectors are, or hold garbage; and in any order.
    FileImage afterPowerLoss(std::mt19937& random) const;
    /// Writes that a loss of power may undo.
    std::size_t unsynced() const { return unsynced_.size(); }

private:
    FileImage killed_;
    FileImage durable_;
    std::vector<FileEvent> unsynced_;
};

}  // namespace qsml
