#pragma once
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "contentpacks/PLXContentPack.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/testing/libraryModel.h"
#include "store/YapDatabaseConnection.h"

namespace qsml {

/// Registers "filteredTracks", a filter over "mediaView", and "filteredFound", one over
/// "searchResultsView", both by keyIsShown().
void registerFilteredViews(PLXDatabaseManager& manager);

/// Commits of random writes to a library, on connections that take turns: records of every kind
/// that extensions look at come, change, are touched and go; tracks share entities, playlists form
/// trees (and circles), lists name what is there and what is not, and each in any order within a
/// transaction; some transactions are rolled back. What they draw from is small, so that records
/// meet each other often.
class LibraryHistory {
public:
    using Writer = YapDatabaseReadWriteTransaction;

    /// Of `scale` times thirty tracks.
    LibraryHistory(PLXDatabaseManager& manager, unsigned seed, std::size_t scale);

    /// One transaction of a few writes; some look at all views in the middle, some are rolled back.
    void commit();
    /// One commit of so many writes.
    void commit(std::size_t operations);
    /// What "searchResultsView" searches and what the filters leave, after the last commit.
    const LibraryRules& rules() const { return rules_; }

private:
    using Operation = void (LibraryHistory::*)(Writer& t);
    using Keys = std::vector<String>;

    // Drawing.
    std::size_t draw(std::size_t below) { return random_() % below; }
    bool oneOf(std::size_t n) { return draw(n) == 0; }
    std::string key(const char* kind, std::size_t number) {
        return kind + std::to_string(draw(number));
    }
    std::string trackKey() { return key("t", 30 * scale_); }
    std::string artistKey() { return key("artist", 8 * scale_); }
    std::string playlistKey();
    std::string entryKey() { return key("e", 40 * scale_); }
    std::string queueKey() { return key("q", 3); }
    std::string queuedKey() { return key("qe", 20 * scale_); }
    std::string packKey() { return key("pack", 6 * scale_); }
    String text();
    std::optional<OrderedSet<String>> some(std::string (LibraryHistory::*one)());
    std::string genreKey() { return key("genre", 5); }
    std::string tagKey() { return key("tag", 6); }
    void putAnywhere(Keys& keys, const String& key);
    /// A row that may be there.
    std::pair<std::string, std::string> anyRow();

    // Tracks and what they refer to.
    void writeTrack(Writer& t);
    void changeTrack(Writer& t);
    void writeEntity(Writer& t);
    void writeUserData(Writer& t);
    void writeAnalyzedData(Writer& t);
    // Playlists.
    void writePlaylist(Writer& t);
    void movePlaylist(Writer& t);
    void changePlaylist(Writer& t);
    void reorderPlaylist(Writer& t);
    void writeEntry(Writer& t);
    void moveEntry(Writer& t);
    // Queues, sessions and packs.
    void writeQueue(Writer& t);
    void writeQueued(Writer& t);
    void writeSession(Writer& t);
    void writePack(Writer& t);
    void writePackFile(Writer& t);
    std::shared_ptr<PLXContentPack> newPack(const std::string& key);
    // Any of them.
    void remove(Writer& t);
    void removeMany(Writer& t);
    void touch(Writer& t);
    void replace(Writer& t);
    void writeOddRow(Writer& t);
    void changeRules(Writer& t);

    void operate(Writer& t);

    std::vector<std::shared_ptr<YapDatabaseConnection>> connections_;
    std::mt19937 random_;
    std::size_t scale_;
    LibraryRules rules_;
    int filterTag_ = 0;
};

}  // namespace qsml
