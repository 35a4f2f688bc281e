#include "database/extensions/testing/searchModel.h"

#include <algorithm>
#include <map>

#include "contentpacks/PLXContentPack.h"
#include "contentpacks/PLXContentPackMediaItem.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

using Reader = YapDatabaseReadTransaction;
using UUIDs = std::optional<OrderedSet<String>>;
using Texts = std::map<std::string, std::string>;  // columns and their texts

template <class Entity>
std::string namesOf(Reader& t, const UUIDs& uuids, std::string_view collection) {
    std::string names;
    if (!uuids) return names;
    for (const String& uuid : *uuids)
        if (const auto entity = t.object<Entity>(uuid, collection))
            names += entity->name().str() + " ";
    return names;
}

Texts textsOf(Reader& t, const Value& object) {
    const std::string name = nameOfRecord(object).str();
    if (objectOfClass<PLXMediaArtist>(object)) return {{"artist", name}};
    if (objectOfClass<PLXMediaAlbum>(object)) return {{"album", name}};
    if (objectOfClass<PLXMediaGenre>(object)) return {{"genre", name}};
    if (objectOfClass<PLXMediaItemPlaylist>(object)) return {{"playlist", name}};
    const auto item = objectOfClass<PLXMediaItem>(object);
    if (!item) return {};
    const auto album = t.object<PLXMediaAlbum>(item->albumUUID(), "mediaAlbums");
    return {{"title", name},
            {"grouping", item->grouping().str()},
            {"comments", item->comments() ? name : ""},
            {"artist", namesOf<PLXMediaArtist>(t, item->artistUUIDs(), "mediaArtists")},
            {"genre", namesOf<PLXMediaGenre>(t, item->genreUUIDs(), "mediaGenres")},
            {"album", album ? album->name().str() : ""}};
}

std::string folded(const std::string& word) {
    for (const LibraryWord& known : libraryWords)
        if (word == known.text) return known.folded;
    return word;
}

bool holdsWord(const std::string& text, const LibraryRules& rules) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = folded(text.substr(at, end - at));
        if (rules.isPrefix ? word.rfind(rules.word, 0) == 0 : word == rules.word) return true;
        at = end + 1;
    }
    return false;
}

}  // namespace

String nameOfRecord(const Value& object) {
    if (const auto item = objectOfClass<PLXMediaItem>(object)) return item->title();
    if (const auto entity = objectOfClass<PLXMediaEntity>(object)) return entity->name();
    if (const auto playlist = objectOfClass<PLXMediaItemPlaylist>(object)) return playlist->name();
    if (const auto pack = objectOfClass<PLXContentPack>(object)) return pack->name();
    const auto file = objectOfClass<PLXContentPackMediaItem>(object);
    return file ? file->name() : String();
}

bool isFound(YapDatabaseReadTransaction& t, const Value& object, const LibraryRules& rules) {
    if (rules.word.empty()) return false;
    const Texts texts = textsOf(t, object);
    return std::any_of(texts.begin(), texts.end(), [&](const auto& one) {
        return (rules.column.empty() || rules.column == one.first) && holdsWord(one.second, rules);
    });
}

}  // namespace qsml
