#include <gtest/gtest.h>

#include "database/extensions/testing/IndexedLibrary.h"
#include "store/detail/testing/PlainSqlite.h"

namespace qsml {
namespace {

using UUIDs = OrderedSet<String>;

class GivenASearchedLibrary : public IndexedLibrary {
protected:
    template <class Entity>
    std::shared_ptr<Entity> stored(const String& name, std::string_view collection) {
        const auto entity = Entity::initWithName(name);
        store(entity, collection);
        return entity;
    }
    std::shared_ptr<PLXMediaArtist> artist(const String& name) {
        return stored<PLXMediaArtist>(name, "mediaArtists");
    }
    template <class Entity>
    void rename(const std::shared_ptr<Entity>& entity, const String& name,
                std::string_view collection) {
        const auto changed = entity->copy();
        changed->setName(name);
        store(changed, collection);
    }
    void storeTrack(const std::function<void(PLXMediaItem&)>& fill) {
        const auto item = PLXMediaItem::initWithUUID("track");
        fill(*item);
        store(item, "mediaItems");
    }
    /// The columns of a row that have a text, "COLUMN=TEXT" in their order; empty when the row is
    /// not in the index.
    std::string texts(std::string_view key) {
        std::string parts;
        for (const auto& column : columnsOf("searchIndex"))
            parts += (parts.empty() ? "" : "||") +
                     ("coalesce('" + column + "='||t.\"" + column + "\"||';','')");
        PlainSqlite file(path());
        std::string line =
            file.query("SELECT " + parts +
                       " FROM \"searchIndex_texts\" t JOIN records r ON r.rowid=t.rowid"
                       " WHERE r.key='" +
                       std::string(key) + "'");
        if (line.ends_with('\n')) line.pop_back();
        return line;
    }
    Keys found(const std::string& query) { return matches("searchIndex", query); }
};

TEST_F(GivenASearchedLibrary, WhenATrackHasTextsOfItsOwnThenTheyAreIndexedWithoutEntities) {
    storeTrack([](PLXMediaItem& item) {
        item.setTitle("The Bells");
        item.setGrouping("Peak");
        item.setComposer("Nobody");
    });
    EXPECT_EQ(texts("track"), "title=The Bells;grouping=Peak;");
    EXPECT_EQ(found("title: bells"), Keys{"track"});
    EXPECT_EQ(found("artist: bells"), Keys{});
    EXPECT_EQ(found("nobody"), Keys{});
}

TEST_F(GivenASearchedLibrary, WhenATrackHasCommentsThenTheirColumnHoldsItsTitle) {
    storeTrack([](PLXMediaItem& item) {
        item.setTitle("The Bells");
        item.setComments("classic");
    });
    EXPECT_EQ(texts("track"), "title=The Bells;comments=The Bells;");
    EXPECT_EQ(found("comments: bells"), Keys{"track"});
    EXPECT_EQ(found("classic"), Keys{});
    storeTrack([](PLXMediaItem& item) { item.setComments("classic"); });
    EXPECT_EQ(texts("track"), "") << "and no title is no text";
}

TEST_F(GivenASearchedLibrary, WhenATrackHasEntitiesThenTheirNamesAreJoinedInOrder) {
    const auto mills = artist("Jeff Mills"), hood = artist("Robert Hood"),
               albumArtist = artist("Various");
    const auto techno = stored<PLXMediaGenre>("Techno", "mediaGenres"),
               minimal = stored<PLXMediaGenre>("Minimal", "mediaGenres");
    const auto album = stored<PLXMediaAlbum>("Kicks", "mediaAlbums");
    const auto label = stored<PLXMediaLabel>("Axis", "mediaLabels");
    storeTrack([&](PLXMediaItem& item) {
        item.setTitle("The Bells");
        item.setArtistUUIDs(UUIDs{hood->uuid(), "missing", mills->uuid()});
        item.setGenreUUIDs(UUIDs{techno->uuid(), minimal->uuid()});
        item.setAlbumUUID(album->uuid());
        item.setAlbumArtistUUIDs(UUIDs{albumArtist->uuid()});
        item.setLabelUUID(label->uuid());
    });
    EXPECT_EQ(texts("track"),
              "title=The Bells;artist=Robert Hood Jeff Mills;genre=Techno Minimal;album=Kicks;");
    EXPECT_EQ(found("artist: \"hood jeff\""), Keys{"track"});
    EXPECT_EQ(found("genre: techno"), (Keys{"track", techno->uuid().str()}));
    EXPECT_EQ(found("axis OR various"), Keys{albumArtist->uuid().str()})
        << "labels are not searched, nor tracks by album artist";
}

TEST_F(GivenASearchedLibrary, WhenOnlyOneKindOfEntityIsThereThenItIsIndexed) {
    const auto mills = artist("Jeff Mills");
    const auto techno = stored<PLXMediaGenre>("Techno", "mediaGenres");
    const auto album = stored<PLXMediaAlbum>("Kicks", "mediaAlbums");
    storeTrack([&](PLXMediaItem& item) { item.setArtistUUIDs(UUIDs{mills->uuid()}); });
    EXPECT_EQ(texts("track"), "artist=Jeff Mills;");
    store(mills, "mediaArtists");  // it went with the last track that had it
    storeTrack([&](PLXMediaItem& item) { item.setGenreUUIDs(UUIDs{techno->uuid()}); });
    EXPECT_EQ(texts("track"), "genre=Techno;");
    storeTrack([&](PLXMediaItem& item) { item.setAlbumUUID(album->uuid()); });
    EXPECT_EQ(texts("track"), "album=Kicks;");
    storeTrack([&](PLXMediaItem& item) {
        item.setArtistUUIDs(UUIDs{"missing"});
        item.setGenreUUIDs(UUIDs());
        item.setAlbumUUID("missing");
    });
    EXPECT_EQ(texts("track"), "");
}

TEST_F(GivenASearchedLibrary, WhenARowIsFoundByNameThenItsColumnIsThatOfItsKind) {
    const auto genre = stored<PLXMediaGenre>("Techno", "mediaGenres");
    const auto album = stored<PLXMediaAlbum>("Kicks", "mediaAlbums");
    const auto label = stored<PLXMediaLabel>("Axis", "mediaLabels");
    const auto playlist = PLXMediaItemPlaylist::initWithUUID("playlist");
    playlist->setName("Set 1");
    store(playlist, "mediaItemPlaylists");
    EXPECT_EQ(texts(artist("Jeff Mills")->uuid()), "artist=Jeff Mills;");
    EXPECT_EQ(texts(genre->uuid()), "genre=Techno;");
    EXPECT_EQ(texts(album->uuid()), "album=Kicks;");
    EXPECT_EQ(texts(label->uuid()), "");
    EXPECT_EQ(texts("playlist"), "playlist=Set 1;");
    store(PLXMediaItemPlaylist::initWithUUID("playlist"), "mediaItemPlaylists");
    EXPECT_EQ(texts("playlist"), "") << "without a name";
    store(PLXMediaItemTag::initWithValue("warm up"), "mediaItemTags");
    EXPECT_EQ(found("warm"), Keys{}) << "nothing else is searched";
}

TEST_F(GivenASearchedLibrary, WhenEntitiesAreOfTheWrongKindThenTheirNamesAreLeftOut) {
    const auto genre = PLXMediaGenre::initWithName("Techno");
    store(genre, "mediaArtists");
    store(PLXMediaItemTitleID::initWithUUID("album"), "mediaAlbums");
    storeTrack([&](PLXMediaItem& item) {
        item.setTitle("The Bells");
        item.setArtistUUIDs(UUIDs{genre->uuid()});
        item.setAlbumUUID("album");
    });
    EXPECT_EQ(texts("track"), "title=The Bells;");
}

TEST_F(GivenASearchedLibrary, WhenAnEntityIsRenamedThenTheTracksThatReferToItFollow) {
    const auto mills = artist("Jeff Mills"), hood = artist("Robert Hood");
    const auto techno = stored<PLXMediaGenre>("Techno", "mediaGenres");
    const auto album = stored<PLXMediaAlbum>("Kicks", "mediaAlbums");
    storeTrack([&](PLXMediaItem& item) {
        item.setArtistUUIDs(UUIDs{mills->uuid(), hood->uuid()});
        item.setGenreUUIDs(UUIDs{techno->uuid()});
        item.setAlbumUUID(album->uuid());
    });
    rename(mills, "Millsart", "mediaArtists");
    EXPECT_EQ(texts("track"), "artist=Millsart Robert Hood;genre=Techno;album=Kicks;");
    rename(techno, "Detroit", "mediaGenres");
    EXPECT_EQ(texts("track"), "artist=Millsart Robert Hood;genre=Detroit;album=Kicks;");
    rename(album, nullptr, "mediaAlbums");
    EXPECT_EQ(texts("track"), "artist=Millsart Robert Hood;genre=Detroit;");
    EXPECT_EQ(found("artist: jeff"), Keys{});
}

TEST_F(GivenASearchedLibrary, WhenAnEntityIsRemovedOrComesLaterThenTheTracksFollow) {
    const auto mills = PLXMediaArtist::initWithName("Jeff Mills");
    storeTrack([&](PLXMediaItem& item) { item.setArtistUUIDs(UUIDs{mills->uuid()}); });
    EXPECT_EQ(texts("track"), "");
    store(mills, "mediaArtists");
    EXPECT_EQ(texts("track"), "artist=Jeff Mills;") << "it came later";
    remove(mills->uuid(), "mediaArtists");
    EXPECT_EQ(texts("track"), "");
    store(mills, "mediaArtists");
    write([](Writer& transaction) { transaction.removeAllObjectsInCollection("mediaArtists"); });
    EXPECT_EQ(texts("track"), "");
}

TEST_F(GivenASearchedLibrary, WhenATrackAndItsArtistComeInOneTransactionThenTheOrderIsFree) {
    for (const bool trackFirst : {false, true}) {
        const String name = trackFirst ? "Robert Hood" : "Jeff Mills";
        const auto artist = PLXMediaArtist::initWithName(name);
        const auto item = PLXMediaItem::initWithUUID("track");
        item->setArtistUUIDs(UUIDs{artist->uuid()});
        write([&](Writer& transaction) {
            if (trackFirst) transaction.setObject(item, "track", "mediaItems");
            transaction.setObject(artist, artist->uuid(), "mediaArtists");
            transaction.setObject(item, "track", "mediaItems");
            EXPECT_TRUE(transaction.ext("searchIndex"));
        });
        EXPECT_EQ(texts("track"), "artist=" + name.str() + ";");
    }
}

TEST_F(GivenASearchedLibrary, WhenManyTracksReferToARenamedArtistThenAllFollowAndNoOthers) {
    const auto mills = artist("Jeff Mills");
    write([&](Writer& transaction) {
        for (int i = 0; i < 500; ++i) {
            const auto item = PLXMediaItem::initWithUUID("track " + std::to_string(i));
            item->setTitle("Title");
            if (i % 2 == 0) item->setArtistUUIDs(UUIDs{mills->uuid()});
            transaction.setObject(item, item->uuid(), "mediaItems");
        }
    });
    rename(mills, "Millsart", "mediaArtists");
    EXPECT_EQ(found("artist: millsart").size(), 251U);
    EXPECT_EQ(found("artist: mills").size(), 0U);
}

TEST_F(GivenASearchedLibrary, WhenBracesAreInATextThenTheWordInThemIsFound) {
    storeTrack([](PLXMediaItem& item) { item.setTitle("Bells {Live}"); });
    EXPECT_EQ(found("live"), Keys{"track"});
}

}  // namespace
}  // namespace qsml
