#include <gmock/gmock.h>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class GivenAnImportedLibrary : public QsmlProgram {
protected:
    void SetUp() override {
        writeFLAC(music("a.flac"), 327.273,
                  {{"TITLE", {"A New Journey"}},
                   {"ARTIST", {"Maxstack", "Guest"}},
                   {"ALBUM", {"Album"}},
                   {"GENRE", {"House"}},
                   {"LABEL", {"Label"}},
                   {"BPM", {"128"}}});
        writeWAV(music("b.wav"), 0.2);
        ASSERT_EQ(number(import(), "tracksAdded"), 2);
    }
    /// Runs Python with the library's path as the first argument; what it prints.
    std::string python(const std::string& script) {
        const ProgramRun run = runProgram({"python3", "-c", script, library()});
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return run.output;
    }
    /// The archive of the one record of that collection, in a file.
    std::string archiveFile(const std::string& collection) {
        const std::string path = directory_.file("archive.bin");
        python(
            "import sqlite3, sys\n"
            "row = sqlite3.connect(sys.argv[1]).execute(\"select data from records where "
            "collection = '" +
            collection +
            "'\").fetchone()\n"
            "open('" +
            path + "', 'wb').write(row[0])\n");
        return path;
    }
};

TEST_F(GivenAnImportedLibrary, WhenReadByPythonThenEveryRowIsAKeyedArchive) {
    const std::string printed = python(R"(
import plistlib, sqlite3, sys
bases = ["PLXCloudDatabaseObject", "PLXDatabaseObject", "NSObject"]
entity = ["PLXMediaEntity"] + bases
chains = {"mediaItems": ["PLXMediaItem"] + bases,
          "mediaItemTitleIDs": ["PLXMediaItemTitleID"] + bases,
          "mediaArtists": ["PLXMediaArtist"] + entity,
          "mediaAlbums": ["PLXMediaAlbum"] + entity,
          "mediaGenres": ["PLXMediaGenre"] + entity,
          "mediaLabels": ["PLXMediaLabel"] + entity,
          "mediaItemAnalyzedData": ["PLXMediaItemAnalyzedData"] + bases,
          "localMediaItemLocations": ["PLXMediaItemLocation"] + bases}
for collection, key, data in sqlite3.connect(sys.argv[1]).execute(
        "select collection, key, data from records"):
    archive = plistlib.loads(data)
    assert archive["$archiver"] == "NSKeyedArchiver", archive
    assert archive["$version"] == 100000, archive
    objects = archive["$objects"]
    assert objects[0] == "$null"
    root = objects[archive["$top"]["root"].data]
    chain = objects[root["$class"].data]
    assert chain["$classes"] == chains[collection], (collection, chain)
    assert chain["$classname"] == chain["$classes"][0]
    assert objects[root["uuid"].data] == key, key
    print(collection)
)");
    for (const char* collection :
         {"mediaItems", "mediaItemTitleIDs", "mediaArtists", "mediaAlbums", "mediaGenres",
          "mediaLabels", "mediaItemAnalyzedData", "localMediaItemLocations"})
        EXPECT_THAT(printed, HasSubstr(std::string(collection) + "\n"));
}

TEST_F(GivenAnImportedLibrary, WhenReadByPythonThenTheFieldsAreUnderTheirNames) {
    const std::string printed = python(R"(
import plistlib, sqlite3, sys
for (data,) in sqlite3.connect(sys.argv[1]).execute(
        "select data from records where collection = 'mediaItems'"):
    objects = plistlib.loads(data)["$objects"]
    root = objects[1]
    if objects[root["title"].data] == "A New Journey":
        print(root["bpm"], round(root["duration"], 3), root["musicalKeySignatureIndex"]
              if "musicalKeySignatureIndex" in root else "no key")
)");
    EXPECT_EQ(printed, "128.0 327.273 no key\n");
}

TEST_F(GivenAnImportedLibrary, WhenCountedBySQLThenCollectionsAndTheirRecordsShow) {
    const ProgramRun run = runProgram(
        {"sqlite3", library(), "select collection, count(*) from records group by 1 order by 1"});
    EXPECT_EQ(run.output,
              "localMediaItemLocations|2\nmediaAlbums|1\nmediaArtists|2\nmediaGenres|1\n"
              "mediaItemAnalyzedData|1\nmediaItemTitleIDs|2\nmediaItems|2\nmediaLabels|1\n")
        << run.errors;
}

TEST_F(GivenAnImportedLibrary, WhenAnArchiveIsDescribedThenItIsJSON) {
    const std::string file = archiveFile("mediaAlbums");
    const ProgramRun json = qsmlAlone({"archive", file, "--json"});
    EXPECT_EQ(json.exitStatus, 0) << json.errors;
    const auto described = objects(json.output);
    ASSERT_EQ(described.size(), 1u);
    EXPECT_EQ(text(described[0], "archiver"), "NSKeyedArchiver");
    EXPECT_THAT(json.output, HasSubstr("\"PLXMediaAlbum\""));

    const ProgramRun people = qsmlAlone({"archive", file});
    EXPECT_THAT(people.output, StartsWith("{\n  \"version\": 100000,\n"));
    rapidjson::Document same;
    same.Parse(people.output.c_str());
    EXPECT_EQ(compact(same) + "\n", json.output);

    const ProgramRun piped = qsmlAlone({"archive", "-", "--json"}, {.input = contentOf(file)});
    EXPECT_EQ(piped.output, json.output);
}

TEST_F(GivenAnImportedLibrary, WhenAnArchiveIsDamagedThenThatIsTold) {
    const std::string file = archiveFile("mediaAlbums");
    const std::string bytes = contentOf(file);
    for (const std::string& damaged : {std::string(), std::string("text"), bytes.substr(0, 40),
                                       bytes.substr(0, bytes.size() - 1)}) {
        writeFile(file, damaged);
        const ProgramRun run = qsmlAlone({"archive", file});
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_THAT(run.output, IsEmpty());
        EXPECT_THAT(run.errors, StartsWith("qsml: " + file + " is no whole keyed archive: "));
    }
    const ProgramRun missing = qsmlAlone({"archive", directory_.file("missing")});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_THAT(missing.errors, HasSubstr("No such file"));
    const ProgramRun endless = qsmlAlone({"archive", "/dev/zero"});
    EXPECT_EQ(endless.exitStatus, 1);
    EXPECT_THAT(endless.errors, HasSubstr("larger than 64 MB"));
}

}  // namespace
}  // namespace qsml::app
