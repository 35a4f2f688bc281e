#include "ImportReport.h"

#include <QSMediaLibraryData/foundation/Environment.h>
#include <fmt/format.h>

#include <algorithm>

#include "output.h"
#include "printable.h"

namespace qsml::app {

ImportReport::ImportReport(bool asJSON)
    : asJSON_(asJSON), bar_("files"), startSeconds_(Clock::shared().monotonicSeconds()) {}

void ImportReport::lookedAtFile() {
    ++counts_.lookedAt;
    if (showsProgress()) bar_.update(counts_.lookedAt, total_);
}

void ImportReport::refused(const std::string& path, const std::string& reason) {
    ++counts_.refused;
    note("refused", path, "reason", reason);
}

void ImportReport::failed(const std::string& path, const std::string& reason) {
    ++counts_.failedPaths;
    bar_.clear();
    complain(path + ": " + reason);
    if (asJSON_) note("failed", path, "reason", reason);
}

void ImportReport::merged(const std::string& path, const std::string& firstPath) {
    ++counts_.merged;
    note("merged", path, "into", firstPath);
}

void ImportReport::alreadyThere() { ++counts_.alreadyThere; }

void ImportReport::located(const std::string& path, const std::string& uuid) {
    ++counts_.located;
    if (asJSON_) putJSON({{"event", "located"}, {"path", String(path)}, {"uuid", String(uuid)}});
}

void ImportReport::added(const std::string& path, const std::string& uuid,
                         const std::vector<std::string>& repairs) {
    ++counts_.added;
    if (repairs.empty()) return;
    ++counts_.repaired;
    if (asJSON_) {
        Value::Array reasons;
        for (const std::string& repair : repairs) reasons.emplace_back(String(repair));
        putJSON({{"event", "repaired"},
                 {"path", String(path)},
                 {"uuid", String(uuid)},
                 {"reasons", reasons}});
        return;
    }
    std::string all;
    for (const std::string& repair : repairs) all += (all.empty() ? "" : "; ") + repair;
    note("repaired", path, "reasons", all);
}

void ImportReport::committed() {
    if (!asJSON_) return;
    putJSON({{"event", "committed"},
             {"filesLookedAt", counts_.lookedAt},
             {"tracksAdded", counts_.added}});
    flushOutput();  // whoever reads along may rely on what is on disk
}

void ImportReport::note(const char* event, const std::string& path, const char* key,
                        const std::string& text) {
    if (asJSON_) {
        putJSON({{"event", event}, {"path", String(path)}, {key, String(text)}});
        return;
    }
    bar_.clear();
    const bool isMerge = std::string_view(event) == "merged";
    putLine(fmt::format("{:<9} {}: {}{}", event, printable(path),
                        isMerge ? "is the same track as " : "", printable(text)));
    if (bar_.isShown()) flushOutput();
}

double ImportReport::secondsSoFar() const {
    return std::max(Clock::shared().monotonicSeconds() - startSeconds_, 1e-6);
}

void ImportReport::summary(const std::string& libraryPath, std::uint64_t snapshot) {
    bar_.clear();
    const double seconds = secondsSoFar();
    const double rate = static_cast<double>(counts_.added) / seconds;
    if (asJSON_) {
        putJSON({{"event", "summary"},
                 {"filesLookedAt", counts_.lookedAt},
                 {"tracksAdded", counts_.added},
                 {"alreadyThere", counts_.alreadyThere},
                 {"located", counts_.located},
                 {"merged", counts_.merged},
                 {"repaired", counts_.repaired},
                 {"refused", counts_.refused},
                 {"failedPaths", counts_.failedPaths},
                 {"seconds", seconds},
                 {"tracksPerSecond", rate},
                 {"library", String(libraryPath)},
                 {"snapshot", snapshot}});
        return;
    }
    putLine(fmt::format("{} files looked at in {:.1f} s", grouped(counts_.lookedAt), seconds));
    putLine(fmt::format("  {} tracks added ({} with repaired tags), {:.0f} a second",
                        grouped(counts_.added), grouped(counts_.repaired), rate));
    putLine(fmt::format("  {} already there", grouped(counts_.alreadyThere)));
    if (counts_.located > 0)
        putLine(fmt::format("  {} new places of known tracks", grouped(counts_.located)));
    putLine(fmt::format("  {} merged into another file's track", grouped(counts_.merged)));
    putLine(fmt::format("  {} refused", grouped(counts_.refused)));
    if (counts_.failedPaths > 0)
        putLine(fmt::format("  {} paths could not be looked into", grouped(counts_.failedPaths)));
}

}  // namespace qsml::app
