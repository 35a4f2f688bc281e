#include "foundation/URLBookmark.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

using namespace qsml;
namespace fs = std::filesystem;

namespace {

class GivenAFileInALibrary : public ::testing::Test {
protected:
    GivenAFileInALibrary() {
        std::string pattern = (fs::temp_directory_path() / "qsml-XXXXXX").string();
        folder_ = fs::canonical(mkdtemp(pattern.data()));
        fs::create_directories(folder_ / "library/Music");
        touch(file());
    }
    ~GivenAFileInALibrary() override { fs::remove_all(folder_); }

    static void touch(const fs::path& path) { std::ofstream(path) << "x"; }
    fs::path file() const { return folder_ / "library/Music/Night Drive 1#.mp3"; }
    URL library() const { return URL::fileURLWithPath((folder_ / "library").string()); }
    Data bookmark(const URL* base) const {
        Error error;
        auto made = bookmarkDataForURL(URL::fileURLWithPath(file().string()), 2048, base, &error);
        EXPECT_TRUE(made) << error.description;
        return made.value_or(Data());
    }
    static std::string resolved(const Data& data, const URL* base) {
        Error error;
        const auto url = URLByResolvingBookmarkData(data, 1280, base, &error);
        EXPECT_EQ(url.has_value(), !error);
        return url ? url->path() : "error " + std::to_string(error.code);
    }

    fs::path folder_;
};

Data bytesOf(std::string_view text) {
    return Data(std::vector<std::uint8_t>(text.begin(), text.end()));
}

}  // namespace

TEST_F(GivenAFileInALibrary, WhenBookmarkedThenItIsFoundWithAndWithoutABase) {
    const URL base = library();
    EXPECT_EQ(resolved(bookmark(nullptr), nullptr), file());
    EXPECT_EQ(resolved(bookmark(&base), &base), file());
    EXPECT_EQ(resolved(bookmark(&base), nullptr), file());
    EXPECT_EQ(pathStoredInBookmarkData(bookmark(&base)), file());
    EXPECT_TRUE(startAccessingSecurityScopedResource(base));
    stopAccessingSecurityScopedResource(base);
}

TEST_F(GivenAFileInALibrary, WhenTheLibraryMovesThenTheFileIsFoundBesideTheNewBase) {
    const URL base = library();
    const Data data = bookmark(&base);
    fs::rename(folder_ / "library", folder_ / "moved");
    const URL moved = URL::fileURLWithPath((folder_ / "moved/").string());
    EXPECT_EQ(resolved(data, &moved), folder_ / "moved/Music/Night Drive 1#.mp3");
}

TEST_F(GivenAFileInALibrary, WhenBothPlacesHoldAFileThenTheOneBesideTheBaseIsPreferred) {
    const URL base = library();
    const Data data = bookmark(&base);
    fs::copy(folder_ / "library", folder_ / "copy", fs::copy_options::recursive);
    const URL copy = URL::fileURLWithPath((folder_ / "copy").string());
    EXPECT_EQ(resolved(data, &copy), folder_ / "copy/Music/Night Drive 1#.mp3");
    fs::remove_all(folder_ / "copy");
    EXPECT_EQ(resolved(data, &copy), file());
}

TEST_F(GivenAFileInALibrary, WhenItIsGoneThenAnErrorNamesItAndThePathCanStillBeRead) {
    const Data data = bookmark(nullptr);
    fs::remove(file());
    Error error;
    EXPECT_FALSE(URLByResolvingBookmarkData(data, 0, nullptr, &error));
    EXPECT_EQ(error.domain, "URLBookmarkErrorDomain");
    EXPECT_NE(error.description.find(file().string()), std::string::npos);
    EXPECT_NE(error.description.find("No such file"), std::string::npos);
    EXPECT_EQ(pathStoredInBookmarkData(data), file());
}

TEST_F(GivenAFileInALibrary, WhenItCannotBeLookedAtThenNoBookmarkIsMade) {
    Error error;
    const URL absent = URL::fileURLWithPath((folder_ / "absent").string());
    EXPECT_FALSE(bookmarkDataForURL(absent, 2048, nullptr, &error));
    EXPECT_EQ(error.domain, "URLBookmarkErrorDomain");
    EXPECT_NE(error.description.find((folder_ / "absent").string()), std::string::npos);
    EXPECT_NE(error.description.find("No such file"), std::string::npos);
    EXPECT_FALSE(bookmarkDataForURL(absent, 2048, nullptr));

    const auto withNul = URL::withString("file://" + (folder_ / "library").string() + "%00x");
    EXPECT_FALSE(bookmarkDataForURL(*withNul, 2048, nullptr, &error));
    EXPECT_FALSE(bookmarkDataForURL(*URL::withString("http://a/b"), 2048, nullptr, &error));
    EXPECT_NE(error.description.find("http://a/b"), std::string::npos);
}

TEST_F(GivenAFileInALibrary, WhenTheBytesAreCutOrLongerThenTheyResolveToNothing) {
    const URL base = library();
    const Data data = bookmark(&base);
    for (std::size_t size = 0; size < data.size(); ++size) {
        const Data cut(data.bytes().first(size));
        EXPECT_EQ(resolved(cut, &base), "error 3") << size;
        EXPECT_FALSE(pathStoredInBookmarkData(cut));
    }
    std::vector<std::uint8_t> longer(data.bytes().begin(), data.bytes().end());
    longer.push_back(0);
    EXPECT_EQ(resolved(Data(longer), &base), "error 3");
}

TEST_F(GivenAFileInALibrary, WhenAnyByteIsDamagedThenNothingCrashes) {
    const URL base = library();
    const Data data = bookmark(&base);
    for (std::size_t i = 0; i < data.size(); ++i)
        for (int change : {1, 0x7F, 0xFF}) {
            std::vector<std::uint8_t> bytes(data.bytes().begin(), data.bytes().end());
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ change);
            const auto found = resolved(Data(bytes), &base);
            EXPECT_TRUE(found == file() || found.starts_with("error ") || i >= 28) << i << found;
        }
}

TEST(GivenForeignBytes, WhenResolvedThenNothingAndAnError) {
    for (auto text :
         {"", "book", "bookmark data of another platform, long enough to hold all fields"}) {
        Error error;
        EXPECT_FALSE(URLByResolvingBookmarkData(bytesOf(text), 0, nullptr, &error));
        EXPECT_EQ(error.domain, "URLBookmarkErrorDomain");
        EXPECT_FALSE(pathStoredInBookmarkData(bytesOf(text)));
    }
}
