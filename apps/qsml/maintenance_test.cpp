#include <gmock/gmock.h>
#include <sys/stat.h>

#include "EditedLibrary.h"
#include "FourTracks.h"
#include "RunningQsml.h"
#include "testing/UndecodableObject.h"

namespace qsml::app {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;

class GivenALibraryToMend : public FourTracks {
protected:
    void damage() const {
        EditedLibrary(library()).write([](auto& transaction) {
            for (const char* const key : {"one", "two\n\""})
                transaction.setObject(std::make_shared<UndecodableObject>(), key, "odds");
        });
    }
    std::string sql(const std::string& statement) const {
        const ProgramRun run = runProgram({"sqlite3", library(), statement});
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return run.output;
    }
    /// Makes the page on which the table begins unreadable as a tree.
    void spoilPageOf(const std::string& table) const {
        sql("PRAGMA wal_checkpoint(TRUNCATE)");
        const auto page =
            std::stoul(sql("SELECT rootpage FROM sqlite_master WHERE name='" + table + "'"));
        std::string bytes = contentOf(library());
        bytes.replace((page - 1) * 8192, 8192, std::string(8192, '\x7f'));
        writeFile(library(), bytes);
    }
    std::string aside() const { return library() + ".aside.jsonl"; }
};

std::string fromBase64(const std::string& text) {
    return runProgram({"base64", "-d"}, {.input = text}).output;
}

TEST_F(GivenALibraryToMend, WhenNothingIsDamagedThenAllIsBuiltAnewAndNothingSetAside) {
    const std::string before = qsml({"dump", "--all"}).output;
    const auto summary = told({"repair"});
    EXPECT_EQ(text(summary, "event"), "summary");
    EXPECT_EQ(number(summary, "setAside"), 0);
    EXPECT_FALSE(summary.HasMember("file"));
    EXPECT_GE(number(summary, "extensions"), 20);
    EXPECT_EQ(qsml({"dump", "--all"}).output, before);
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
    EXPECT_NE(::access(aside().c_str(), F_OK), 0);
    EXPECT_THAT(qsml({"repair"}).output, HasSubstr("no record is damaged\nbuilt "));
}

TEST_F(GivenALibraryToMend, WhenAnExtensionIsWrongThenRepairMakesItRight) {
    const std::string tables =
        sql("SELECT name FROM sqlite_master WHERE type='table' AND name LIKE 'relationship%'");
    ASSERT_NE(tables, "");
    sql("DELETE FROM \"" + tables.substr(0, tables.find('\n')) + "\"");
    ASSERT_EQ(qsml({"check"}).exitStatus, 1);
    EXPECT_EQ(qsml({"repair"}).exitStatus, 0);
    EXPECT_EQ(qsml({"check"}).output.substr(0, 9), "no faults");
}

TEST_F(GivenALibraryToMend, WhenPagesOfTheLinksAreDamagedThenTheyAreMissedAndMadeAnew) {
    const std::string before = qsml({"edges"}).output;
    for (const std::string table : {"names", "absent", "edges"}) {
        SCOPED_TRACE(table);
        spoilPageOf("relationship_" + table);
        const ProgramRun check = qsml({"check"});
        EXPECT_EQ(check.exitStatus, 1);
        const bool isOpened = table == "edges";  // the page itself is then named
        EXPECT_THAT(check.output,
                    HasSubstr(isOpened ? "Page " : "fault in extension relationship"));
        const ProgramRun repair = qsml({"repair"});
        EXPECT_EQ(repair.exitStatus, 0) << repair.errors;
        EXPECT_EQ(qsml({"compact"}).exitStatus, 0) << "pages that belong to nobody";
        EXPECT_EQ(qsml({"check"}).output.substr(0, 9), "no faults");
        EXPECT_EQ(qsml({"edges"}).output, before);
    }
}

TEST_F(GivenALibraryToMend, WhenTheLinksAreOfANewerVersionThenRepairSaysSoAndLeavesThem) {
    sql("UPDATE yap SET data='99' WHERE extension='relationship' AND key='#format'");
    EXPECT_THAT(qsml({"check"}).output, HasSubstr("extension relationship"));
    const ProgramRun repair = qsml({"repair"});
    EXPECT_EQ(repair.exitStatus, 1);
    EXPECT_EQ(repair.output, "");
    EXPECT_THAT(repair.errors, HasSubstr("\"relationship\" cannot be registered"));
    EXPECT_THAT(repair.errors, HasSubstr("cannot build all lists and indexes anew"));
    sql("UPDATE yap SET data='1' WHERE extension='relationship' AND key='#format'");
    EXPECT_EQ(qsml({"repair"}).exitStatus, 0);
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenALibraryToMend, WhenRecordsAreDamagedThenTheirBytesAreSetAside) {
    damage();
    ASSERT_EQ(qsml({"check"}).exitStatus, 1);
    const std::string stored = sql("SELECT hex(data) FROM records WHERE collection='odds'");
    const auto summary = told({"repair"});
    EXPECT_EQ(number(summary, "setAside"), 2);
    EXPECT_EQ(text(summary, "file"), aside());
    const auto rows = objects(contentOf(aside()));
    ASSERT_EQ(rows.size(), 2u);
    for (const auto& row : rows) {
        EXPECT_EQ(text(row, "collection"), "odds");
        EXPECT_NE(text(row, "fault"), "");
        std::string hex;
        for (const char byte : fromBase64(text(row, "data")))
            hex += "0123456789ABCDEF"[static_cast<unsigned char>(byte) >> 4],
                hex += "0123456789ABCDEF"[byte & 15];
        EXPECT_THAT(stored, HasSubstr(hex + "\n"));
    }
    struct stat status = {};
    ASSERT_EQ(::stat(aside().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
    EXPECT_EQ(tracks().size(), 4u);

    damage();
    EXPECT_THAT(qsml({"repair"}).output, HasSubstr("set aside in " + library() + ".aside-2.jsonl"));
    EXPECT_EQ(objects(contentOf(aside())).size(), 2u) << "what was set aside before stays";
}

TEST_F(GivenALibraryToMend, WhenTheFileForThemCannotBeMadeThenNothingIsRemoved) {
    damage();
    writeFile(directory_.file("letter"), "Dear Ann");
    for (const std::string& file : {directory_.file("letter"), directory_.file("no/folder")}) {
        const ProgramRun run = qsml({"repair", "--aside", file});
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_THAT(run.errors, HasSubstr("cannot make the file " + file));
        EXPECT_THAT(run.errors, HasSubstr("the library is as it was"));
    }
    EXPECT_EQ(contentOf(directory_.file("letter")), "Dear Ann");
    EXPECT_EQ(sql("SELECT count(*) FROM records WHERE collection='odds'"), "2\n");
    const std::string file = directory_.file("aside");
    EXPECT_EQ(text(told({"repair", "--aside", file}), "file"), file);
    EXPECT_EQ(objects(contentOf(file)).size(), 2u);
}

TEST_F(GivenALibraryToMend, WhenCompactedThenItIsSmallerAndHoldsTheSame) {
    EditedLibrary(library()).write([](auto& transaction) {
        for (int i = 0; i < 200; ++i)
            transaction.setObject(Value(std::string(10'000, 'x')), std::to_string(i), "odds");
    });
    EditedLibrary(library()).write(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("odds"); });
    const std::string before = qsml({"dump", "--all"}).output;
    const auto sizes = told({"compact"});
    EXPECT_GT(number(sizes, "bytesBefore"), 2'000'000);
    EXPECT_LT(number(sizes, "bytesAfter"), 1'000'000);
    struct stat status = {};
    ASSERT_EQ(::stat(library().c_str(), &status), 0);
    EXPECT_LT(status.st_size, 1'000'000);
    EXPECT_EQ(qsml({"dump", "--all"}).output, before);
    EXPECT_THAT(qsml({"compact"}).output, HasSubstr(" bytes before, "));
}

TEST_F(GivenALibraryToMend, WhenBackedUpThenTheCopyIsALibraryOfItsOwn) {
    const std::string file = directory_.file("copy.qsml");
    const auto told1 = told({"backup", file});
    EXPECT_EQ(text(told1, "file"), file);
    EXPECT_GT(number(told1, "bytes"), 0);
    EXPECT_EQ(qsmlAlone({"--library", file, "dump", "--all"}).output,
              qsml({"dump", "--all"}).output);
    EXPECT_EQ(qsmlAlone({"--library", file, "check"}).exitStatus, 0);
    const std::string before = contentOf(file);
    EXPECT_THAT(refusal({"backup", file}), HasSubstr(file));
    EXPECT_EQ(contentOf(file), before) << "what is there is not replaced";
    EXPECT_THAT(refusal({"backup", directory_.file("no/folder/x")}), HasSubstr("no/folder/x"));
    EXPECT_EQ(qsml({"backup", ""}).exitStatus, 2);
    EXPECT_EQ(qsml({"backup"}).exitStatus, 2);
}

TEST_F(GivenALibraryToMend, WhenAnotherProcessWritesMeanwhileThenTheCopyIsWhole) {
    for (int i = 0; i < 3; ++i) {
        RunningQsml writer({"--library", library(), "playlist", "create"});
        const std::string file = directory_.file("copy" + std::to_string(i));
        EXPECT_EQ(qsml({"backup", file}).exitStatus, 0);
        EXPECT_EQ(writer.exitStatus(), 0);
        EXPECT_EQ(qsmlAlone({"--library", file, "check"}).exitStatus, 0);
    }
}

TEST_F(GivenALibraryToMend, WhenThereIsNoLibraryThenNoneIsMade) {
    const std::string nowhere = directory_.file("none.qsml");
    for (const std::vector<std::string>& command : {std::vector<std::string>{"dump", "--all"},
                                                    {"edges"},
                                                    {"repair"},
                                                    {"compact"},
                                                    {"backup", directory_.file("b")},
                                                    {"watch", "mediaView"},
                                                    {"playlist", "tree"},
                                                    {"playlist", "create"}}) {
        std::vector<std::string> arguments = {"--library", nowhere};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const ProgramRun run = qsmlAlone(arguments);
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_THAT(run.errors, HasSubstr("there is no library at " + nowhere));
    }
    EXPECT_THAT(directory_.entries(), Each(Not(HasSubstr("none.qsml"))));
}

}  // namespace
}  // namespace qsml::app
