// What all indexes and full-text searches have in common: how they are registered.
#include <gtest/gtest.h>

#include <algorithm>

#include "database/extensions/testing/IndexedLibrary.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "store/search/YapDatabaseFullTextSearch.h"

namespace qsml {
namespace {

struct Registered {
    const char* name;
    const char* versionTag;
    std::vector<std::string> columns;
    const char* types;  ///< one letter for each column of a secondary index; null: full-text
    const char* collection = nullptr;  ///< null: all
};

const std::vector<Registered> inOrder = {
    {"mediaItemUserDataSearchIndex", "1", {"isrcs"}, nullptr},
    {"mediaItemAnalyzedDataIndex",
     "2",
     {"bpm", "manualBPM", "keySignatureIndex"},
     "rri",
     "mediaItemAnalyzedData"},
    {"mediaItemPlaylistIndex", "", {"name"}, "t"},
    {"searchIndex",
     "3",
     {"title", "artist", "genre", "album", "grouping", "comments", "playlist"},
     nullptr},
    {"contentPackIndex", "2", {"name", "type", "addedDate"}, "ttr", "contentPacks"},
    {"userContentPackIndex", "1", {"name", "type", "addedDate"}, "ttr", "userContentPacks"}};

const std::vector<Registered> onRequest = {
    {"mediaItemIndex", "", {"titleID"}, "t"},
    {"mediaItemUserDataIndex", "2", {"tags", "titleIDs", "isrcs"}, "ttt", "mediaItemUserData"}};

std::string typesOf(const YapDatabaseSecondaryIndex& index) {
    using Type = YapDatabaseSecondaryIndexType;
    std::string letters;
    for (const auto& column : index.columns())
        letters += column.type == Type::integer ? 'i'
                   : column.type == Type::real  ? 'r'
                   : column.type == Type::text  ? 't'
                                                : '?';
    return letters;
}

class GivenALibrary : public IndexedLibrary {
protected:
    void expectRegistered(const Registered& expected) {
        SCOPED_TRACE(expected.name);
        const auto extension = manager_.database()->registeredExtension(expected.name);
        ASSERT_TRUE(extension);
        EXPECT_EQ(extension->versionTag(), expected.versionTag);
        EXPECT_EQ(columnsOf(expected.name), expected.columns);
        const auto* secondary = dynamic_cast<const YapDatabaseSecondaryIndex*>(extension.get());
        EXPECT_EQ(secondary != nullptr, expected.types != nullptr);
        if (secondary && expected.types) {
            EXPECT_EQ(typesOf(*secondary), expected.types);
        }
        const auto* allowed = extension->allowedCollections();
        ASSERT_EQ(allowed != nullptr, expected.collection != nullptr);
        if (allowed) {
            EXPECT_EQ(*allowed, (std::set<std::string, std::less<>>{expected.collection}));
        }
    }
};

TEST_F(GivenALibrary, WhenSetUpThenEachIndexIsRegisteredAsItIsStored) {
    for (const Registered& expected : inOrder) expectRegistered(expected);
}

TEST_F(GivenALibrary, WhenSetUpThenTheIndexesFollowTheGraphInTheirOrder) {
    const auto names = manager_.database()->registeredExtensionNames();
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front(), "relationship");
    auto from = names.begin();
    for (const Registered& expected : inOrder) {
        from = std::find(from, names.end(), expected.name);
        ASSERT_NE(from, names.end()) << expected.name;
    }
}

TEST_F(GivenALibrary, WhenSetUpThenTheTwoIndexesThatNothingAsksAreNotRegistered) {
    for (const Registered& absent : onRequest)
        EXPECT_EQ(manager_.database()->registeredExtension(absent.name), nullptr) << absent.name;
}

TEST_F(GivenALibrary, WhenTheTwoIndexesThatNothingAsksAreSetUpThenTheyAreRegistered) {
    manager_.setupMediaItemSecondaryIndexExtension();
    manager_.setupMediaItemUserDataSecondaryIndexExtension();
    for (const Registered& expected : onRequest) expectRegistered(expected);
}

}  // namespace
}  // namespace qsml
