#include <gtest/gtest.h>

#include "database/extensions/testing/ViewedLibrary.h"
#include "database/extensions/testing/listedRecords.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"

namespace qsml {
namespace {

using UUIDs = OrderedSet<String>;

constexpr std::string_view playlists = "mediaItemPlaylists", items = "mediaItemPlaylistItems",
                           queues = "queues", queueItems = "queueItems";

std::shared_ptr<PLXMediaItemPlaylist> playlistOf(const std::optional<UUIDs>& itemUUIDs) {
    return playlist("list", nullptr, {}, itemUUIDs);
}
std::shared_ptr<PLXQueue> queueOf(const std::optional<UUIDs>& itemUUIDs) {
    auto made = PLXQueue::initWithUUID("queue");
    made->setItemUUIDs(itemUUIDs);
    return made;
}
std::shared_ptr<PLXQueueItem> queueItem(std::string_view uuid, const String& queueUUID = "queue") {
    auto made = PLXQueueItem::initWithUUID(uuid);
    made->setQueueUUID(queueUUID);
    return made;
}

class GivenChildPlaylists : public ViewedLibrary {
protected:
    void SetUp() override {
        ViewedLibrary::SetUp();
        storeAll(playlists, {playlist("top", nullptr, list({"c", "a", "b"})), playlist("a", "top"),
                             playlist("b", "top"), playlist("c", "top")});
    }
    Keys children(const std::string& parent = "top") {
        return shown("mediaItemPlaylistsView", parent);
    }
};

TEST_F(GivenChildPlaylists, WhenStoredThenTheyStandInTheOrderOfTheirParent) {
    EXPECT_EQ(shown("mediaItemPlaylistsView"),
              (Groups{{"root", {"top"}}, {"top", {"c", "a", "b"}}}));
}

TEST_F(GivenChildPlaylists, WhenReorderedThenTheyFollowInTheSameCommit) {
    write([&](Writer& t) {
        t.setObject(playlist("top", nullptr, list({"b", "c", "a"})), "top", playlists);
        EXPECT_EQ(groupsShown(t, "mediaItemPlaylistsView")["top"], (Keys{"b", "c", "a"}));
    });
    EXPECT_EQ(children(), (Keys{"b", "c", "a"}));
    storeAll(playlists, {playlist("top", nullptr, list({"b", "a"}))});
    EXPECT_EQ(children(), (Keys{"b", "a", "c"})) << "c is not named";
    storeAll(playlists, {playlist("top", nullptr)});
    EXPECT_EQ(children(), (Keys{"a", "b", "c"})) << "by age";
}

TEST_F(GivenChildPlaylists, WhenOneIsMovedElsewhereThenItStandsWhereTheNewParentSays) {
    storeAll(playlists, {playlist("a", "c"), playlist("c", "top", list({"a", "d"})),
                         playlist("d", "c"), playlist("top", nullptr, list({"c", "b"}))});
    EXPECT_EQ(children(), (Keys{"c", "b"}));
    EXPECT_EQ(children("c"), (Keys{"a", "d"}));
    storeAll(playlists, {playlist("c", "top", list({"d", "a"}))});
    EXPECT_EQ(children("c"), (Keys{"d", "a"}));
    storeAll(playlists, {playlist("a", nullptr)});
    EXPECT_EQ(children("root"), (Keys{"top", "a"}));
}

TEST_F(GivenChildPlaylists, WhenOneIsRemovedThenSoAreThoseBelowItAndTheListForgetsIt) {
    storeAll(playlists, {playlist("below", "a")});
    remove("a", playlists);
    EXPECT_EQ(shown("mediaItemPlaylistsView"), (Groups{{"root", {"top"}}, {"top", {"c", "b"}}}));
    storeAll(playlists, {playlist("a", "top")});
    EXPECT_EQ(children(), (Keys{"c", "b", "a"}));
}

TEST_F(GivenChildPlaylists, WhenTheParentIsMissingThenTheyStandByAge) {
    storeAll(playlists, {playlist("y", "nobody"), playlist("x", "nobody")});
    EXPECT_EQ(children("nobody"), (Keys{"y", "x"}));
    storeAll(playlists, {playlist("nobody", "top", list({"x", "y"}))});
    EXPECT_EQ(children("nobody"), (Keys{"x", "y"})) << "it came later";
    write([](Writer& t) { t.setObject(Value("no playlist"), "nobody", playlists); });
    EXPECT_EQ(children("nobody"), (Keys{"y", "x"}));
    EXPECT_EQ(children(), (Keys{"c", "a", "b"}));
}

TEST_F(GivenChildPlaylists, WhenPlaylistsLeadInACircleThenTheyAreShownAllTheSame) {
    storeAll(playlists, {playlist("x", "y", list({"y"})), playlist("y", "x", list({"x"})),
                         playlist("self", "self", list({"self"}))});
    EXPECT_EQ(children("x"), Keys{"y"});
    EXPECT_EQ(children("y"), Keys{"x"});
    EXPECT_EQ(children("self"), Keys{"self"});
}

class GivenAPlaylist : public ViewedLibrary {
protected:
    Keys entries(const std::string& list = "list") { return shown("mediaItemPlaylistView", list); }
};

TEST_F(GivenAPlaylist, WhenTheListIsWrittenAfterItsEntriesThenTheyTakeTheirPlaces) {
    storeAll(items, {item("1"), item("2"), item("3")});
    EXPECT_EQ(entries(), (Keys{"1", "2", "3"})) << "no list names them yet";
    storeAll(playlists, {playlistOf(list({"3", "1", "2"}))});
    EXPECT_EQ(entries(), (Keys{"3", "1", "2"}));
}

TEST_F(GivenAPlaylist, WhenListAndEntriesAreWrittenInOneCommitThenTheOrderOfWritesIsFree) {
    for (const bool listFirst : {true, false}) {
        write([&](Writer& t) {
            t.removeAllObjectsInAllCollections();
            if (listFirst) t.setObject(playlistOf(list({"2", "3", "1"})), "list", playlists);
            for (const char* uuid : {"1", "2", "3"}) t.setObject(item(uuid), uuid, items);
            t.setObject(playlistOf(list({"2", "3", "1"})), "list", playlists);
        });
        EXPECT_EQ(entries(), (Keys{"2", "3", "1"})) << listFirst;
    }
}

TEST_F(GivenAPlaylist, WhenEntriesComeInTheMiddleMoveAndGoThenTheViewFollows) {
    storeAll(items, {item("1"), item("2"), item("3")});
    storeAll(playlists, {playlistOf(list({"1", "2", "3"}))});
    write([](Writer& t) {
        t.setObject(item("4"), "4", items);
        t.setObject(playlistOf(list({"1", "4", "2", "3"})), "list", playlists);
    });
    EXPECT_EQ(entries(), (Keys{"1", "4", "2", "3"}));
    storeAll(playlists, {playlistOf(list({"3", "1", "4", "2"}))});
    EXPECT_EQ(entries(), (Keys{"3", "1", "4", "2"}));
    remove("1", items);
    EXPECT_EQ(entries(), (Keys{"3", "4", "2"}));
    storeAll(items, {item("1")});
    EXPECT_EQ(entries(), (Keys{"3", "4", "2", "1"})) << "the list forgot it when it went";
}

TEST_F(GivenAPlaylist, WhenTheListNamesWhatIsNotThereThenTheOthersKeepTheirOrder) {
    storeAll(items, {item("1"), item("2"), item("old", "other"), item("unlisted")});
    storeAll(playlists, {playlistOf(list({"gone", "2", "old", "missing", "1"}))});
    EXPECT_EQ(entries(), (Keys{"2", "1", "unlisted"}));
    storeAll(items, {item("missing")});
    EXPECT_EQ(entries(), (Keys{"2", "missing", "1", "unlisted"}));
    storeAll(items, {item("old")});
    EXPECT_EQ(entries(), (Keys{"2", "old", "missing", "1", "unlisted"}));
    EXPECT_EQ(entries("other"), Keys());
}

TEST_F(GivenAPlaylist, WhenOneCommitUndoesAnotherThenNothingHasMoved) {
    storeAll(items, {item("1"), item("2")});
    storeAll(playlists, {playlistOf(list({"2", "1"}))});
    write([](Writer& t) {
        t.setObject(playlistOf(std::nullopt), "list", playlists);
        t.removeObjectForKey("2", items);
        t.setObject(item("2"), "2", items);
        t.rollback();
    });
    EXPECT_EQ(entries(), (Keys{"2", "1"}));
    write([](Writer& t) { t.touchObjectForKey("list", playlists); });
    EXPECT_EQ(entries(), (Keys{"2", "1"}));
}

TEST_F(GivenAPlaylist, WhenItGoesThenItsEntriesGo) {
    storeAll(playlists, {playlistOf(list({"2", "1"}))});
    storeAll(items, {item("1"), item("2")});
    remove("list", playlists);
    EXPECT_EQ(shown("mediaItemPlaylistView"), Groups());
}

TEST_F(GivenAPlaylist, WhenATrackGoesThenItsEntryGoes) {
    storeAll("mediaItems", {track("t", "Title")});
    auto entry = item("1");
    entry->setMediaItemUUID("t");
    storeAll(playlists, {playlistOf(list({"2", "1"}))});
    storeAll(items, {entry, item("2")});
    EXPECT_EQ(entries(), (Keys{"2", "1"}));
    remove("t", "mediaItems");
    EXPECT_EQ(entries(), Keys{"2"});
}

TEST_F(GivenAPlaylist, WhenARowIsOfAnotherClassOrNamesNoPlaylistThenItIsNotInTheView) {
    storeAll(items, {item("nowhere", nullptr), queueItem("queued", "list"), item("empty", "")});
    storeAll(queueItems, {item("entry", "list")});
    EXPECT_EQ(shown("mediaItemPlaylistView"), (Groups{{"", {"empty"}}}));
    EXPECT_EQ(shown("queueView"), Groups());
    storeAll(playlists, {item("entry", "list")});
    EXPECT_EQ(shown("mediaItemPlaylistsView"), Groups());
}

class GivenAQueue : public ViewedLibrary {
protected:
    Keys entries(const std::string& queue = "queue") { return shown("queueView", queue); }
};

TEST_F(GivenAQueue, WhenEntriesComeMoveAndGoThenTheViewFollows) {
    storeAll(queueItems, {queueItem("1"), queueItem("2"), queueItem("3"), queueItem("x", "other")});
    EXPECT_EQ(shown("queueView"), (Groups{{"queue", {"1", "2", "3"}}, {"other", {"x"}}}));
    storeAll(queues, {queueOf(list({"2", "missing", "3", "1"}))});
    EXPECT_EQ(entries(), (Keys{"2", "3", "1"}));
    write([](Writer& t) {
        t.setObject(queueItem("0"), "0", queueItems);
        t.setObject(queueOf(list({"1", "0", "2", "3"})), "queue", queues);
        t.removeObjectForKey("3", queueItems);
        EXPECT_EQ(groupsShown(t, "queueView")["queue"], (Keys{"1", "0", "2"}));
    });
    EXPECT_EQ(entries(), (Keys{"1", "0", "2"}));
    storeAll(queueItems, {queueItem("3")});
    EXPECT_EQ(entries(), (Keys{"1", "0", "2", "3"})) << "a queue keeps the names of what went";
}

TEST_F(GivenAQueue, WhenAnEntryChangesQueuesThenItStandsWhereTheOtherSays) {
    storeAll(queueItems, {queueItem("1"), queueItem("2"), queueItem("3", "other")});
    auto other = PLXQueue::initWithUUID("other");
    other->setItemUUIDs(list({"2", "3"}));
    storeAll(queues, {queueOf(list({"2", "1"})), other});
    storeAll(queueItems, {queueItem("2", "other")});
    EXPECT_EQ(shown("queueView"), (Groups{{"queue", {"1"}}, {"other", {"2", "3"}}}));
    remove("other", queues);
    EXPECT_EQ(shown("queueView"), (Groups{{"queue", {"1"}}})) << "its entries go with it";
}

TEST_F(GivenAQueue, WhenARowIsNoQueueOrNamesNoneThenItIsLeftOutOfTheOrder) {
    storeAll(queueItems, {queueItem("none", nullptr), queueItem("1"), queueItem("2")});
    storeAll(queues, {playlistOf(list({"2", "1"}))});  // under another key
    write([](Writer& t) { t.setObject(playlistOf(OrderedSet<String>{"2"}), "queue", queues); });
    EXPECT_EQ(shown("queueView"), (Groups{{"queue", {"1", "2"}}}));
}

class GivenSessions : public ViewedLibrary {
protected:
    static std::shared_ptr<PLXHistorySession> session(std::string_view uuid,
                                                      std::optional<double> startSeconds) {
        auto made = PLXHistorySession::initWithUUID(uuid);
        if (startSeconds) made->setStartDate(Date{*startSeconds});
        return made;
    }
};

TEST_F(GivenSessions, WhenStoredThenTheNewestComesFirst) {
    storeAll("historySessions",
             {session("open", std::nullopt), session("old", -5e8), session("new", 7e8),
              session("zero", 0), session("newToo", 7e8), session("half", 0.5)});
    EXPECT_EQ(shown("historySessionView"),
              (Groups{{"sessions", {"new", "newToo", "half", "zero", "old", "open"}}}));
    storeAll("historySessions", {session("old", 8e8)});
    EXPECT_EQ(shown("historySessionView", "sessions"),
              (Keys{"old", "new", "newToo", "half", "zero", "open"}));
}

TEST_F(GivenSessions, WhenARowIsNoSessionThenItIsNotInTheView) {
    storeAll("historySessions", {queueItem("x")});
    storeAll("historySessionItems", {session("y", 1)});
    EXPECT_EQ(shown("historySessionView"), Groups());
}

}  // namespace
}  // namespace qsml
