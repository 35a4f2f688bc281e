#pragma once
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "testing/OpenStore.h"

namespace qsml {

using Reader = YapDatabaseReadTransaction;
using Writer = YapDatabaseReadWriteTransaction;
/// The keys of each group, in order.
using Groups = std::map<std::string, std::vector<std::string>>;

/// Registers, in this order:
/// - "songs", a view of the rows of "songs": texts "GENRE|TITLE", by genre and title; no group
///   where there is no genre;
/// - "entries", a view of the rows of "entries": texts "LIST|...", by list, in the order that the
///   row LIST of "lists" gives with a text of keys between commas;
/// - "words", a full-text search of the songs' titles and of the text under the same key in
/// "notes";
/// - "found", the songs that match a search;
/// - "evenSongs" and "evenEntries", filters by key that setEven() changes, and "evenFound".
void registerViews(YapDatabase& database);

/// What the views are to show, worked out from the rows in the plainest way.
Groups songsOf(Reader& transaction);
Groups entriesOf(Reader& transaction);
Groups foundOf(Reader& transaction, const std::string& word);
Groups evenOf(const Groups& groups, int divisor);
/// What a view shows.
Groups shownBy(Reader& transaction, std::string_view view);

/// Commits of random writes. What they draw from is small, so that rows are replaced, removed,
/// moved and brought back often.
class ViewHistory {
public:
    ViewHistory(YapDatabaseConnection& connection, unsigned seed, int numberOfKeys);

    /// One commit of a few operations.
    void commit();
    /// The word that "found" searches and the divisor of the filters, after the last commit.
    const std::string& word() const { return word_; }
    int divisor() const { return divisor_; }
    YapDatabaseConnection& connection() { return connection_; }

private:
    int draw(int below);
    std::string key(std::string_view kind);
    void operate(Writer& transaction);
    void writeSong(Writer& transaction);
    void writeEntry(Writer& transaction);
    void writeList(Writer& transaction);
    void changeRule(Writer& transaction);

    YapDatabaseConnection& connection_;
    std::mt19937 random_;
    int numberOfKeys_;
    std::string word_;
    int divisor_ = 2;
    int tag_ = 0;
};

/// Compares all views with what they are to show.
void expectViewsOfRows(Reader& transaction, const std::string& word, int divisor);

}  // namespace qsml
