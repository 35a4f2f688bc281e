#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "ProgressBar.h"

namespace qsml::app {

/// How many files went which way. Every file looked at is in exactly one of added, alreadyThere,
/// merged and refused.
struct ImportCounts {
    std::uint64_t lookedAt = 0;
    std::uint64_t added = 0;
    std::uint64_t alreadyThere = 0;
    std::uint64_t merged = 0;
    std::uint64_t refused = 0;
    std::uint64_t repaired = 0;     ///< of those added
    std::uint64_t located = 0;      ///< files at a new place whose track was there already
    std::uint64_t failedPaths = 0;  ///< paths and folders that could not be looked into
};

/// Counts what an import does and tells it: each file worth a word on a line of standard output
/// (with JSON, an object with "event", also after each commit), then the summary; the progress on a
/// terminal's standard error. Confined to one thread.
class ImportReport {
public:
    explicit ImportReport(bool asJSON);

    const ImportCounts& counts() const { return counts_; }
    bool showsProgress() const { return !asJSON_ && bar_.isShown(); }
    void setTotalFiles(std::uint64_t total) { total_ = total; }

    void lookedAtFile();
    void refused(const std::string& path, const std::string& reason);
    void failed(const std::string& path, const std::string& reason);
    void merged(const std::string& path, const std::string& firstPath);
    void alreadyThere();
    /// The track is now known at this place too.
    void located(const std::string& path, const std::string& uuid);
    void added(const std::string& path, const std::string& uuid,
               const std::vector<std::string>& repairs);
    /// What was added so far is on disk.
    void committed();
    /// The end: all counts and the rate.
    void summary(const std::string& libraryPath, std::uint64_t snapshot);

private:
    void note(const char* event, const std::string& path, const char* key, const std::string& text);
    double secondsSoFar() const;

    bool asJSON_;
    ProgressBar bar_;
    std::uint64_t total_ = 0;
    double startSeconds_;
    ImportCounts counts_;
};

}  // namespace qsml::app
