#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <gmock/gmock.h>
#include <sys/file.h>

#include "EditedLibrary.h"
#include "QsmlProgram.h"
#include "RunningQsml.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// Five tracks, "Nebula" among the texts of each kind.
class GivenALibraryToBrowse : public QsmlProgram {
protected:
    void SetUp() override {
        add("Nebula Rising", {"Zoe", "adam"}, "Night", "House", "Am");
        add("Dark Matter", {"Nebula"}, "Night", "Techno", "Am");
        add("alpha", {"adam"}, "Nebula Sessions", "House", "8B");
        add("Beta (Remix)", {"Zoe"}, "Night", "House", "");
        add("Gamma AND Delta", {"\u00C9mile"}, "Day", "", "C#m");
        ASSERT_EQ(number(import({"--source", "files"}), "tracksAdded"), 5);
    }
    void add(const std::string& title, const std::vector<std::string>& artists,
             const std::string& album, const std::string& genre, const std::string& key) {
        writeFLAC(music(std::to_string(++files_) + ".flac"), 60,
                  {{"TITLE", {title}},
                   {"ARTIST", artists},
                   {"ALBUMARTIST", {artists.front()}},
                   {"ALBUM", {album}},
                   {"GENRE", {genre}},
                   {"LABEL", {"One Label"}},
                   {"INITIALKEY", {key}}});
    }
    /// "group: name" of each result.
    std::vector<std::string> found(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"search", "--json"});
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        std::vector<std::string> all;
        for (const auto& result : objects(run.output)) {
            const std::string group = text(result, "group");
            all.push_back(group + ": " + text(result, group == "mediaItem" ? "title" : "name"));
        }
        return all;
    }
    /// "name tracks" of each line.
    std::vector<std::string> browsed(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "browse");
        std::vector<std::string> all;
        for (const auto& entry : succeed(arguments))
            all.push_back(text(entry, "name") + " " + compact(entry["tracks"]));
        return all;
    }
    std::vector<std::string> titles(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "browse");
        std::vector<std::string> all;
        for (const auto& track : succeed(arguments)) all.push_back(text(track, "title"));
        return all;
    }
    int files_ = 0;
};

TEST_F(GivenALibraryToBrowse, WhenSearchedThenGroupsComeInTheirOrder) {
    EXPECT_THAT(found({"nebula"}), ElementsAre("mediaItem: alpha", "mediaItem: Dark Matter",
                                               "mediaItem: Nebula Rising", "artist: Nebula",
                                               "album: Nebula Sessions"));
    EXPECT_THAT(found({"NEB ri"}), ElementsAre()) << "only the last word may be a beginning";
    EXPECT_THAT(found({"nebula ri"}), ElementsAre("mediaItem: Nebula Rising"));
    EXPECT_THAT(found({"emil"}), ElementsAre("mediaItem: Gamma AND Delta", "artist: \u00C9mile"));
    EXPECT_THAT(found({"no such word"}), IsEmpty());
}

TEST_F(GivenALibraryToBrowse, WhenAPlaylistMatchesThenItComesLast) {
    ASSERT_EQ(qsml({"playlist", "create", "Nebula Set"}).exitStatus, 0);
    EXPECT_EQ(found({"nebula"}).back(), "playlist: Nebula Set");
    EXPECT_THAT(found({"set", "--group", "playlist"}), ElementsAre("playlist: Nebula Set"));
}

TEST_F(GivenALibraryToBrowse, WhenAPageOfResultsIsAskedForThenItIsThatPartOfTheWhole) {
    const auto whole = found({"nebula"});
    for (std::size_t offset = 0; offset < 7; ++offset)
        for (std::size_t limit = 0; limit < 7; ++limit) {
            std::vector<std::string> part;
            for (std::size_t i = offset; i < whole.size() && i < offset + limit; ++i)
                part.push_back(whole[i]);
            if (offset % 3 == 2 || limit % 3 == 2) {
                EXPECT_EQ(found({"nebula", "--offset", std::to_string(offset), "--limit",
                                 std::to_string(limit)}),
                          part)
                    << offset << " " << limit;
            }
        }
    EXPECT_THAT(found({"nebula", "--offset", "18446744073709551615"}), IsEmpty());
    EXPECT_THAT(found({"nebula", "--group", "artist"}), ElementsAre("artist: Nebula"));
    EXPECT_THAT(found({"nebula", "--group", "track", "--limit", "1"}),
                ElementsAre("mediaItem: alpha"));
}

TEST_F(GivenALibraryToBrowse, WhenTheTextLooksLikeAQueryThenItIsTakenAsData) {
    EXPECT_THAT(found({"gamma AND delta"}), ElementsAre("mediaItem: Gamma AND Delta"));
    EXPECT_THAT(found({"nebula AND matter"}), IsEmpty()) << "AND is a word";
    EXPECT_THAT(found({"(remix"}), ElementsAre("mediaItem: Beta (Remix)"));
    EXPECT_THAT(found({"title:nebula"}), IsEmpty());
    for (const char* nothing :
         {"", " ", "*", "(", "\"", "\"\"", "- -", "^", ":", "\x1B\x01", "\xFF\xFE"})
        EXPECT_THAT(found({"--", nothing}), IsEmpty()) << nothing;
    for (const char* odd : {"nebula\"", "\"nebula", "nebula*", "nebula)", "nebula'; --", "-nebula"})
        EXPECT_EQ(found({"--", odd}).size(), 5u) << odd;
}

TEST_F(GivenALibraryToBrowse, WhenSearchedThenTheFileStaysAsItIs) {
    ASSERT_EQ(qsml({"stats"}).exitStatus, 0);
    const std::string before = contentOf(library()), log = contentOf(library() + "-wal");
    const double snapshot = number(succeed({"stats"}).at(0), "snapshot");
    EXPECT_EQ(found({"nebula"}).size(), 5u);
    EXPECT_EQ(number(succeed({"stats"}).at(0), "snapshot"), snapshot);
    EXPECT_TRUE(contentOf(library()) == before) << "byte by byte";
    EXPECT_TRUE(contentOf(library() + "-wal") == log);
}

TEST_F(GivenALibraryToBrowse, WhenResultsAreReadSlowlyThenOthersCanWrite) {
    EditedLibrary(library()).write([](auto& transaction) {
        for (int i = 0; i < 1000; ++i) {  // more lines than any buffer on the way takes
            const auto playlist = PLXMediaItemPlaylist::init();
            playlist->setName("nebula " + std::string(300, 'x'));
            transaction.setObject(playlist, playlist->uuid(),
                                  PLXDatabaseCollectionMediaItemPlaylists);
        }
    });
    RunningQsml search({"--library", library(), "search", "nebula", "--json"});
    ASSERT_NE(search.line(), "");
    const int lock = ::open((library() + "-lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(lock, 0);
    EXPECT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0) << "it still is in its transaction";
    ::close(lock);
    int lines = 1;
    while (!search.line().empty()) ++lines;
    EXPECT_EQ(lines, 1005);
    EXPECT_EQ(search.exitStatus(), 0);
}

TEST_F(GivenALibraryToBrowse, WhenSearchedForPeopleThenColumnsStandUnderEachOther) {
    EXPECT_THAT(qsml({"search", "nebula"}).output,
                StartsWith("Kind    Name             Artist     Album            ID\n"
                           "track   alpha            adam       Nebula Sessions  "));
}

TEST_F(GivenALibraryToBrowse, WhenEntitiesAreBrowsedThenEachHasItsTracksCounted) {
    EXPECT_THAT(browsed({"artists"}), ElementsAre("adam 2", "\u00C9mile 1", "Nebula 1", "Zoe 2"));
    EXPECT_THAT(browsed({"albums"}), ElementsAre("Day 1", "Nebula Sessions 1", "Night 3"));
    EXPECT_THAT(browsed({"genres"}), ElementsAre("House 3", "Techno 1"));
    EXPECT_THAT(browsed({"labels"}), ElementsAre("One Label 5"));
    EXPECT_THAT(browsed({"artists", "--offset", "1", "--limit", "2"}),
                ElementsAre("\u00C9mile 1", "Nebula 1"));
    EXPECT_THAT(browsed({"artists", "--offset", "9"}), IsEmpty());
    EXPECT_THAT(browsed({"artists", "--limit", "0"}), IsEmpty());
    EXPECT_THAT(qsml({"browse", "genres"}).output, StartsWith("Name    Tracks\nHouse        3\n"));
}

TEST_F(GivenALibraryToBrowse, WhenSourcesAndKeysAreBrowsedThenTheyComeFromTheViews) {
    EXPECT_THAT(browsed({"sources"}), ElementsAre("files 5"));
    EXPECT_THAT(browsed({"keys"}), ElementsAre("C 1", "C#m 1", "Am 2"));
    EXPECT_EQ(number(succeed({"browse", "keys"}).at(2), "index"), 21);
    EXPECT_THAT(browsed({"keys", "--offset", "1", "--limit", "1"}), ElementsAre("C#m 1"));
    EXPECT_THAT(titles({"keys", "8A"}), ElementsAre("Dark Matter", "Nebula Rising"));
    EXPECT_THAT(titles({"keys", "21", "--offset", "1"}), ElementsAre("Nebula Rising"));
    EXPECT_THAT(titles({"sources", "files", "--limit", "2", "--offset", "1"}).size(), 2u);
    EXPECT_THAT(refusal({"browse", "sources", "none"}),
                HasSubstr("no track has one of the sources \"none\""));
    EXPECT_THAT(refusal({"browse", "keys", "Bm"}), HasSubstr("no track has one of the keys"));
    EXPECT_THAT(refusal({"browse", "keys", "H"}), HasSubstr("no track has one of the keys"));
}

TEST_F(GivenALibraryToBrowse, WhenTracksHaveNoSourceThenTheyAreUnderNone) {
    writeFLAC(music("later.flac"), 30, {{"TITLE", {"Later"}}});
    ASSERT_EQ(number(import(), "tracksAdded"), 1);
    EXPECT_THAT(browsed({"sources"}), ElementsAre("files 5", "none 1"));
    EXPECT_THAT(titles({"sources", "none"}), ElementsAre("Later"));
}

TEST_F(GivenALibraryToBrowse, WhenOneIsNamedThenItsTracksAreListedByTitle) {
    EXPECT_THAT(titles({"artists", "Zoe"}), ElementsAre("Beta (Remix)", "Nebula Rising"));
    EXPECT_THAT(titles({"artists", "ADAM"}), ElementsAre("alpha", "Nebula Rising"));
    EXPECT_THAT(titles({"genres", "house", "--offset", "1", "--limit", "1"}),
                ElementsAre("Beta (Remix)"));
    EXPECT_THAT(titles({"albums", "night"}),
                ElementsAre("Beta (Remix)", "Dark Matter", "Nebula Rising"));
    EXPECT_THAT(qsml({"browse", "artists", "nebula"}).output,
                StartsWith("Title        Artist  Album"));
    EXPECT_EQ(refusal({"browse", "artists", "Zo"}),
              "qsml: none of the artists is called \"Zo\"; \"qsml browse artists\" lists them "
              "all\n");
    EXPECT_THAT(refusal({"browse", "genres", "' OR 1 --"}), HasSubstr("is called \"' OR 1 --\""));
}

TEST_F(GivenALibraryToBrowse, WhenANameIsWrittenInSeveralWaysThenOneIsToBeNamedExactly) {
    add("Other", {"ZOE"}, "Night", "House", "");
    ASSERT_EQ(number(import(), "tracksAdded"), 1);
    EXPECT_THAT(titles({"artists", "ZOE"}), ElementsAre("Other"));
    EXPECT_THAT(titles({"artists", "Zoe"}), ElementsAre("Beta (Remix)", "Nebula Rising"));
    EXPECT_THAT(refusal({"browse", "artists", "zoe"}), HasSubstr("name one exactly: "));
}

TEST_F(GivenALibraryToBrowse, WhenTheCommandIsWrongThenTheUsageIsTold) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"search"},
                                                      {"search", "a", "--group", "genre"},
                                                      {"search", "a", "--limit", "-1"},
                                                      {"search", "a", "--offset", "x"},
                                                      {"browse"},
                                                      {"browse", "moods"},
                                                      {"browse", "artists", ""},
                                                      {"browse", "artists", "--limit", "x"}}) {
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_THAT(run.errors, HasSubstr("see \"qsml --help\"")) << arguments.back();
    }
    const ProgramRun absent = qsmlAlone({"--library", directory_.file("absent"), "search", "a"});
    EXPECT_EQ(absent.exitStatus, 1);
    EXPECT_THAT(absent.errors, HasSubstr("there is no library at "));
}

}  // namespace
}  // namespace qsml::app
