#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::StartsWith;

/// Some hundred tracks that share artists, albums and genres.
class GivenAnInterruptedImport : public QsmlProgram {
protected:
    static constexpr std::size_t trackCount = 400;

    void SetUp() override {
        for (std::size_t i = 0; i < trackCount; ++i) {
            const std::string n = std::to_string(1000 + i);
            writeFLAC(music(n + ".flac"), 60 + static_cast<double>(i),
                      {{"TITLE", {"Track " + n}},
                       {"ARTIST", {"Artist " + std::to_string(i % 7), "Guest"}},
                       {"ALBUM", {"Album " + std::to_string(i / 10)}},
                       {"GENRE", {"House"}}});
        }
    }

    /// What an import that nothing stops makes of the folder, in a library beside this one.
    std::string uninterrupted() {
        const std::string other = directory_.file("other.qsml");
        EXPECT_EQ(qsmlAlone({"--library", other, "import", music()}).exitStatus, 0);
        std::string all;
        for (auto& track : objects(qsmlAlone({"--library", other, "tracks", "--json"}).output)) {
            track.EraseMember("addedDate");
            all += compact(track) + "\n";
        }
        return all;
    }

    void expectWholeTracks() {
        for (const auto& [title, track] : tracks()) {
            EXPECT_EQ(texts(track, "artists").size(), 2u) << title;
            EXPECT_NE(text(track, "album"), "") << title;
            EXPECT_EQ(texts(track, "genres").size(), 1u) << title;
        }
        const ProgramRun check = qsml({"check"});
        EXPECT_EQ(check.exitStatus, 0) << check.output << check.errors;
    }
};

TEST_F(GivenAnInterruptedImport, WhenKilledAndRunAgainThenTheLibraryIsThatOfAWholeRun) {
    for (const std::size_t lines : {1u, 20u, 90u}) {
        for (const char* end : {"", "-wal", "-shm"}) std::remove((library() + end).c_str());
        const ProgramRun killed =
            qsml({"import", music(), "--json", "--batch", "1"}, {.killAfterLines = lines});
        ASSERT_EQ(killed.signal, SIGKILL);
        const std::size_t stored = tracks().size();
        EXPECT_GE(stored, lines) << "what was told to be committed is there";
        EXPECT_LT(stored, trackCount);
        expectWholeTracks();
    }
    const std::size_t before = tracks().size();
    const auto summary = import();
    EXPECT_EQ(number(summary, "alreadyThere"), static_cast<double>(before));
    EXPECT_EQ(number(summary, "tracksAdded"), static_cast<double>(trackCount - before));
    EXPECT_EQ(everythingButAddedDates(), uninterrupted());
}

TEST_F(GivenAnInterruptedImport, WhenTheDiskIsFullThenItIsToldAndTheCommittedPartStays) {
    ASSERT_EQ(qsml({"import", music("1000.flac")}).exitStatus, 0);
    const rlim_t size = contentOf(library()).size() + contentOf(library() + "-wal").size();
    const auto limitFileSize = [&size] {
        constexpr rlim_t room = 200u << 10;
        const rlimit limit = {size + room, size + room};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    };
    const ProgramRun run =
        qsml({"import", music(), "--json", "--batch", "10"}, {.beforeExec = limitFileSize});
    EXPECT_EQ(run.exitStatus, 1) << run.output;
    EXPECT_THAT(run.errors, StartsWith("qsml: cannot store tracks; those added before stay"));
    EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
    const auto commits = events(run.output, "committed");
    const double told = commits.empty() ? 0 : number(commits.back(), "tracksAdded");
    const std::size_t stored = tracks().size();
    EXPECT_EQ(static_cast<double>(stored), told + 1);
    EXPECT_LT(stored, trackCount);
    expectWholeTracks();
    import();
    EXPECT_EQ(everythingButAddedDates(), uninterrupted());
}

TEST_F(GivenAnInterruptedImport, WhenTheReaderLeavesThenTheProgramEndsQuietly) {
    import();
    const ProgramRun run = qsml({"tracks", "--json"}, {.closeAfterLines = 1});
    EXPECT_EQ(run.signal, SIGPIPE);
    EXPECT_EQ(run.errors, "");
}

TEST_F(GivenAnInterruptedImport, WhenTheOutputCannotBeWrittenThenItIsTold) {
    import();
    const ProgramRun run = runProgram(
        {"sh", "-c", "\"$0\" --library \"$1\" tracks >/dev/full", QSML_PROGRAM, library()});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors, "qsml: cannot write to standard output; is its disk full?\n");
}

}  // namespace
}  // namespace qsml::app
