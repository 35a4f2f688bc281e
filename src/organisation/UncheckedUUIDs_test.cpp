#include "organisation/UncheckedUUIDs.h"

#include <gtest/gtest.h>

#include "organisation/PLXMediaItemPlaylist.h"
#include "testing/ArchiveBuilder.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Playlist = PLXMediaItemPlaylist;
using Keys = OrderedSet<String>;
using UUIDs = std::optional<Keys>;

/// Shows what an archive of a playlist holds under its one key that is read without a check.
class Witness final : public ValueObject {
    QSML_VALUE_OBJECT(Witness)
    QSML_PROPERTY(Value, childUUIDs, setChildUUIDs)
    QSML_RECORD_END()
};
QSML_DEFINE_VALUE_OBJECT(Witness)

Value archivedChildren(const std::vector<std::uint8_t>& archive) {
    KeyedUnarchiver unarchiver;
    unarchiver.setClass(Witness::classObject(), "PLXMediaItemPlaylist");
    const Value root = unarchiver.unarchive(archive);
    const auto witness = objectOfClass<Witness>(root);
    return witness ? witness->childUUIDs() : Value("unreadable");
}

std::vector<std::uint8_t> archiveWithChildren(const Value& children) {
    return foreignArchive(
        {{"$class", "PLXMediaItemPlaylist"}, {"uuid", "u"}, {"childUUIDs", children}});
}

struct Found {
    const char* name;
    Value archived;
    UUIDs read;
};

const std::vector<Found> anythingFound = {
    {"an ordered set", Value(Keys{"b", "a"}), Keys{"b", "a"}},
    {"an empty ordered set", Value(Keys{}), Keys{}},
    {"an ordered set of other things", Value(OrderedSet<Value>{"b", Date{5}, "a"}), Keys{"b", "a"}},
    {"an array with repeats", Value(Value::Array{"b", "a", "b"}), Keys{"b", "a"}},
    {"a set", Value(ValueSet{"a"}), Keys{"a"}},
    {"a collection in a collection", Value(Value::Array{Value::Array{"x"}, "a"}), Keys{"a"}},
    {"a text", Value("a"), std::nullopt},
    {"a number", Value(Dictionary{{"$boxed", 5}}), std::nullopt},
    {"a date", Value(Date{5}), std::nullopt},
    {"data", Value(Data(std::vector<std::uint8_t>{1})), std::nullopt},
    {"nothing", Value(Dictionary{{"$nil", true}}), std::nullopt},
};

TEST(GivenAnythingUnderTheKeyOfTheChildren, WhenReadThenTheTextsOfACollectionAreTheUUIDs) {
    for (const auto& [name, archived, uuids] : anythingFound) {
        const auto playlist = recordFrom<Playlist>(archiveWithChildren(archived));
        ASSERT_TRUE(playlist) << name;
        EXPECT_EQ(playlist->childUUIDs(), uuids) << name;
        EXPECT_EQ(playlist->valueForKey("childUUIDs"), Value(uuids)) << name;
        EXPECT_EQ(playlist->yapDatabaseRelationshipEdges().size(), uuids ? uuids->size() : 0U)
            << name;
    }
}

TEST(GivenAnythingUnderTheKeyOfTheChildren, WhenWrittenBackThenItIsThereAsItWas) {
    for (const auto& [name, archived, uuids] : anythingFound) {
        const auto archive = archiveWithChildren(archived);
        const auto playlist = recordFrom<Playlist>(archive);
        ASSERT_TRUE(playlist) << name;
        playlist->setName("changed");
        EXPECT_EQ(archivedChildren(archiveOf(*playlist)), archivedChildren(archive)) << name;
        EXPECT_EQ(archivedChildren(archiveOf(*playlist->copy())), archivedChildren(archive))
            << name;
    }
}

TEST(GivenARecordUnderTheKeyOfTheChildren, WhenWrittenBackThenItIsThereToo) {
    const Value item(Dictionary{{"$class", "PLXFileBookmark"}});
    (void)PLXFileBookmark::classObject();
    for (const Value& children : {item, Value(Value::Array{item, Value("a")})}) {
        const auto playlist = recordFrom<Playlist>(archiveWithChildren(children));
        ASSERT_TRUE(playlist);
        const Value kept = archivedChildren(archiveOf(*playlist));
        const Value& record = kept.isCollection() ? kept.elements().at(0) : kept;
        EXPECT_TRUE(objectOfClass<PLXFileBookmark>(record));
        EXPECT_EQ(playlist->childUUIDs(), kept.isCollection() ? UUIDs(Keys{"a"}) : UUIDs());
    }
}

TEST(GivenAnythingUnderTheKeyOfTheChildren, WhenTheChildrenAreSetThenAnOrderedSetTakesItsPlace) {
    for (const auto& [name, archived, uuids] : anythingFound) {
        const auto playlist = recordFrom<Playlist>(archiveWithChildren(archived));
        ASSERT_TRUE(playlist) << name;
        playlist->setChildUUIDs(Keys{"y", "x"});
        EXPECT_EQ(playlist->childUUIDs(), (Keys{"y", "x"})) << name;
        EXPECT_EQ(archivedChildren(archiveOf(*playlist)), Value(Keys{"y", "x"})) << name;
        playlist->setChildUUIDs(std::nullopt);
        EXPECT_TRUE(archivedChildren(archiveOf(*playlist)).isNil()) << name;
    }
}

/// The playlist once a child is gone.
std::shared_ptr<Playlist> withoutChild(const Value& children, String child) {
    const auto playlist = recordFrom<Playlist>(archiveWithChildren(children));
    return std::static_pointer_cast<Playlist>(playlist->yapDatabaseRelationshipEdgeDeleted(
        {PLXMediaItemPlaylistChildRelationshipEdgeName, std::move(child), "mediaItemPlaylists",
         YDB_NotifyIfDestinationDeleted},
        YapDatabaseRelationshipNode::Reason::destinationNodeDeleted));
}

TEST(GivenAnythingUnderTheKeyOfTheChildren, WhenAChildIsGoneThenAllElseStaysAsItWas) {
    const Value five(Dictionary{{"$boxed", 5}});
    const struct {
        Value archived, left;
    } cases[] = {
        {Value(Value::Array{"a", five, "b"}), Value(Value::Array{5, "b"})},
        {Value(Value::Array{"a", "b", "a"}), Value(Value::Array{"b"})},
        {Value(OrderedSet<Value>{"b", Date{5}, "a"}), Value(OrderedSet<Value>{"b", Date{5}})},
        {Value(ValueSet{"a", "b"}), Value(ValueSet{"b"})},
        {Value(Keys{"b", "a", "c"}), Value(Keys{"b", "c"})},
        {Value(Keys{"a"}), Value(Keys{})},
        {Value(Value::Array{"b", Value(Value::Array{"a"})}),
         Value(Value::Array{"b", Value(Value::Array{"a"})})},
        {Value("a"), Value("a")},
        {Value(Date{5}), Value(Date{5})}};
    for (const auto& [archived, left] : cases) {
        const auto playlist = withoutChild(archived, "a");
        EXPECT_EQ(archivedChildren(archiveOf(*playlist)), left) << left.description();
        EXPECT_EQ(playlist->changedProperties(), (KeySet{"childUUIDs"}));
    }
    EXPECT_EQ(withoutChild(Value(Value::Array{"a", five, "b"}), "a")->childUUIDs(), Keys{"b"});
}

TEST(GivenAPlaylist, WhenItsChildrenAreSetByKeyThenOnlyCollectionsOfTextsAreTaken) {
    const auto playlist = Playlist::init();
    EXPECT_TRUE(playlist->setValueForKey("childUUIDs", Value(Value::Array{"b", "a"})));
    EXPECT_EQ(playlist->childUUIDs(), (Keys{"b", "a"}));
    EXPECT_FALSE(playlist->setValueForKey("childUUIDs", Value("x")));
    EXPECT_FALSE(playlist->setValueForKey("childUUIDs", Value(Value::Array{"x", 5})));
    EXPECT_EQ(playlist->childUUIDs(), (Keys{"b", "a"}));
    EXPECT_TRUE(playlist->setValueForKey("childUUIDs", Value()));
    EXPECT_EQ(playlist->childUUIDs(), std::nullopt);
}

// Such a record would hold itself, and never be freed.
TEST(GivenAnArchiveOfAPlaylistThatHoldsItself, WhenReadThenThatIsLeftOut) {
    for (const bool isAlone : {false, true}) {
        ArchiveBuilder b;
        const auto root = b.reserve();
        const auto text = b.addText("a");
        const auto inner = b.collection("NSArray", {root});
        const auto deep = b.instance(
            "NSDictionary", {{"NS.keys", b.uids({text})}, {"NS.objects", b.uids({inner})}});
        const auto list = b.collection("NSArray", {root, text, inner, deep});
        b.place(root, b.instanceRef("PLXMediaItemPlaylist",
                                    {{"uuid", b.uid(b.addText("u"))},
                                     {"childUUIDs", b.uid(isAlone ? root : list)}}));
        auto read = recordFrom<Playlist>(b.archive(root));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->uuid(), "u");
        EXPECT_EQ(read->childUUIDs(), isAlone ? UUIDs() : UUIDs(Keys{"a"}));
        EXPECT_EQ(archivedChildren(archiveOf(*read)), isAlone ? Value() : Value(Value::Array{"a"}));
        const std::weak_ptr<Playlist> watched = read;
        read.reset();
        EXPECT_TRUE(watched.expired());
    }
}

// A loop over two records.
TEST(GivenAnArchiveOfPlaylistsThatHoldEachOther, WhenReadThenTheyAreFreedAgain) {
    ArchiveBuilder b;
    const auto first = b.reserve();
    const auto second = b.instance("PLXMediaItemPlaylist", {{"childUUIDs", b.uid(first)}});
    b.place(first, b.instanceRef("PLXMediaItemPlaylist", {{"childUUIDs", b.uid(second)}}));
    auto read = recordFrom<Playlist>(b.archive(first));
    ASSERT_TRUE(read);
    const std::weak_ptr<Playlist> watched = read;
    read.reset();
    EXPECT_TRUE(watched.expired());
}

/// Children that no other program would write: texts, a date and a dictionary.
std::vector<std::uint8_t> archiveOfOddChildren() {
    ArchiveBuilder b;
    const auto text = b.addText("a");
    const auto date = b.instance("NSDate", {{"NS.time", b.real(5)}});
    const auto pairs =
        b.instance("NSDictionary", {{"NS.keys", b.uids({text})}, {"NS.objects", b.uids({date})}});
    const auto list = b.collection("NSArray", {text, date, pairs});
    return b.archive(
        b.instance("PLXMediaItemPlaylist", {{"uuid", b.uid(text)}, {"childUUIDs", b.uid(list)}}));
}

TEST(GivenAPlaylistOfOddChildren, WhenWrittenBackThenTheyAreAllThere) {
    const auto playlist = recordFrom<Playlist>(archiveOfOddChildren());
    ASSERT_TRUE(playlist);
    EXPECT_EQ(playlist->childUUIDs(), Keys{"a"});
    EXPECT_EQ(archivedChildren(archiveOf(*playlist)),
              Value(Value::Array{"a", Date{5}, Dictionary{{"a", Date{5}}}}));
}

TEST(GivenAPlaylistOfOddChildren, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    const auto playlist = recordFrom<Playlist>(archiveOfOddChildren());
    ASSERT_TRUE(playlist);
    readDamagedArchives(*playlist);
}

}  // namespace
}  // namespace qsml
