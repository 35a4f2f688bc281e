#pragma once
#include <string>

#include "store/YapDatabaseTransaction.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml::sampleContent {

using Writer = YapDatabaseReadWriteTransaction;

/// The identity of the track of that number.
std::shared_ptr<const PLXMediaItemTitleID> titleIDOf(int number);
std::string keyOf(int number);
inline std::string playlistKey(int number) { return "playlist-" + std::to_string(number); }

/// What an import writes of a track: title ID, media item with its artists, album and genre,
/// locations, user data with cues and a tag, analysed data. False when one write was refused.
bool importTrack(Writer& transaction, int number);
/// A folder with three playlists of some of the tracks, the root above them, a queue, a session, a
/// tag group and a pack with items.
bool addLists(Writer& transaction, int tracks);

// Edits of a session; each is one commit of the caller's.

bool setCue(Writer& transaction, int track, int slot);
bool rate(Writer& transaction, int track, int rating);
/// Also the stored year of its media item, so that a torn commit shows.
bool countPlay(Writer& transaction, int track);
bool retitle(Writer& transaction, int track, const std::string& title);
bool renameArtist(Writer& transaction, int track, const std::string& name);
bool addToPlaylist(Writer& transaction, int playlist, int track, const std::string& itemKey);
bool moveToFront(Writer& transaction, int playlist);
/// With the entries, by the rules of the relationships.
bool removeTrack(Writer& transaction, int number);
bool removePlaylist(Writer& transaction, int number);

/// One of the edits above; the step and its content by the number.
bool edit(Writer& transaction, int step, int tracks);

}  // namespace qsml::sampleContent
