#include <QSMediaLibraryData/foundation/version.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class GivenNoUsableLibrary : public QsmlProgram {
protected:
    /// One line on standard error, nothing else, status 1; answers the line.
    std::string failure(const ProgramRun& run) {
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_EQ(run.output, "");
        EXPECT_THAT(run.errors, StartsWith("qsml: "));
        EXPECT_THAT(run.errors, EndsWith("\n"));
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
        return run.errors;
    }
    void makeLibrary() {
        writeFLAC(music("a.flac"), 1, {{"TITLE", {"A"}}});
        import();
    }
};

TEST_F(GivenNoUsableLibrary, WhenThereIsNoneThenReadingSaysHowToMakeOne) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"tracks"}, {"show", "a"}, {"stats"}, {"check"}}) {
        EXPECT_THAT(failure(qsml(command)),
                    HasSubstr("there is no library at " + library() + "; make one with"));
        EXPECT_NE(::access(library().c_str(), F_OK), 0) << "none is made by looking";
    }
}

TEST_F(GivenNoUsableLibrary, WhenTheFileIsSomethingElseThenItIsLeftAlone) {
    const std::string content = "This is a letter, not a library. " + std::string(5000, '.');
    writeFile(library(), content);
    EXPECT_THAT(failure(qsml({"tracks"})), HasSubstr(library()));
    EXPECT_THAT(failure(qsml({"import", music()})), HasSubstr(library()));
    EXPECT_EQ(contentOf(library()), content);
}

TEST_F(GivenNoUsableLibrary, WhenItIsAFolderOrInNoFolderThenThatIsTold) {
    ASSERT_EQ(::mkdir(library().c_str(), 0777), 0);
    EXPECT_THAT(failure(qsml({"tracks"})), HasSubstr(library()));
    const std::string nowhere = directory_.file("no/such/folder/l.qsml");
    EXPECT_THAT(failure(qsmlAlone({"--library", nowhere, "import", music()})), HasSubstr(nowhere));
}

TEST_F(GivenNoUsableLibrary, WhenTheFileIsReadOnlyThenThatIsToldAndItStays) {
    makeLibrary();
    ASSERT_EQ(::chmod(library().c_str(), 0444), 0);
    const std::string before = contentOf(library());
    writeFLAC(music("b.flac"), 1, {{"TITLE", {"B"}}});
    const ProgramRun run = qsml({"import", music()}, {.beforeExec = obeyFileModesOrEnd});
    EXPECT_THAT(failure(run), HasSubstr(library()));
    EXPECT_EQ(contentOf(library()), before);
}

TEST_F(GivenNoUsableLibrary, WhenRowsAreDamagedThenCheckNamesThemAndTheRestIsListed) {
    makeLibrary();
    writeFLAC(music("b.flac"), 1, {{"TITLE", {"Findable B"}}});
    import();
    // Everything into the one file first; then a byte of a title is changed in the stored archive.
    ASSERT_EQ(runProgram({"sqlite3", library(), "PRAGMA wal_checkpoint(TRUNCATE)"}).exitStatus, 0);
    std::string bytes = contentOf(library());
    bool isFound = false;
    for (std::size_t place = 0; (place = bytes.find("Findable B", place)) != std::string::npos;) {
        bytes.replace(place, 4, "Lost");
        isFound = true;
    }
    ASSERT_TRUE(isFound);
    writeFile(library(), bytes);
    const ProgramRun run = qsml({"check"});
    EXPECT_EQ(run.exitStatus, 1) << run.output << run.errors;
    EXPECT_THAT(run.output, HasSubstr("fault in mediaItems "));
    EXPECT_THAT(run.output, HasSubstr("fault in mediaItemTitleIDs "));
    EXPECT_THAT(run.output, HasSubstr("\"qsml repair\" "));
    EXPECT_EQ(tracks().count("A"), 1u);

    EXPECT_EQ(number(import(), "alreadyThere"), 2);
    EXPECT_EQ(qsml({"check"}).output, run.output) << "damaged rows are not overwritten";
}

TEST_F(GivenNoUsableLibrary, WhenTheFileIsCutOffThenNothingCrashesAndItIsTold) {
    makeLibrary();
    ASSERT_EQ(runProgram({"sqlite3", library(), "PRAGMA wal_checkpoint(TRUNCATE)"}).exitStatus, 0);
    const std::string bytes = contentOf(library());
    writeFile(library(), bytes.substr(0, bytes.size() / 2));
    const ProgramRun run = qsml({"check"});
    EXPECT_EQ(run.exitStatus, 1) << run.output << run.errors;
    EXPECT_FALSE(run.output.empty() && run.errors.empty());
}

class GivenACommandLine : public QsmlProgram {};

TEST_F(GivenACommandLine, WhenItIsWrongThenTheStatusIsTwo) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"fly"},
                                                      {"import"},
                                                      {"tracks", "--sort", "colour"},
                                                      {"tracks", "--limit", "-1"},
                                                      {"show"},
                                                      {"--library", "", "stats"},
                                                      {"stats", "--loud"},
                                                      {"import", "x", "--batch", "0"}}) {
        const ProgramRun run = qsmlAlone(arguments);
        EXPECT_EQ(run.exitStatus, 2) << run.errors;
        EXPECT_THAT(run.errors, StartsWith("qsml: "));
        EXPECT_THAT(run.errors, EndsWith("see \"qsml --help\"\n"));
        EXPECT_EQ(run.output, "");
    }
}

TEST_F(GivenACommandLine, WhenAskedThenVersionAndHelpAreTold) {
    const ProgramRun version = qsmlAlone({"--version"});
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_EQ(version.output, std::string(QSMediaLibraryDataVersionString) + "\n");
    const ProgramRun help = qsmlAlone({"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    for (const char* command : {"import", "tracks", "show", "stats", "check", "archive"})
        EXPECT_THAT(help.output, HasSubstr(command));
}

TEST_F(GivenACommandLine, WhenNoLibraryIsNamedThenTheEnvironmentDecides) {
    writeFLAC(music("a.flac"), 1, {{"TITLE", {"A"}}});
    const std::string data = "XDG_DATA_HOME=" + directory_.file("data");
    EXPECT_EQ(qsmlAlone({"import", music()}, {.environment = {"QSML_LIBRARY=", data}}).exitStatus,
              0);
    struct stat status = {};
    ASSERT_EQ(::stat(directory_.file("data/qsml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(::access(directory_.file("data/qsml/library.qsml").c_str(), F_OK), 0);

    const std::string variable = "QSML_LIBRARY=" + directory_.file("named.qsml");
    EXPECT_EQ(qsmlAlone({"import", music()}, {.environment = {variable}}).exitStatus, 0);
    EXPECT_EQ(::access(directory_.file("named.qsml").c_str(), F_OK), 0);

    const std::string home = "HOME=" + directory_.file("home");
    const ProgramRun run = qsmlAlone(
        {"import", music()}, {.environment = {"QSML_LIBRARY=", "XDG_DATA_HOME=relative", home}});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    EXPECT_EQ(::access(directory_.file("home/.local/share/qsml/library.qsml").c_str(), F_OK), 0);
}

}  // namespace
}  // namespace qsml::app
