#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qsml {
class PLXMediaItem;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// Calls the block with each track that can be decoded, in no stated order.
void enumerateTracks(const YapDatabaseReadTransaction& transaction,
                     const std::function<void(const PLXMediaItem&)>& block);

/// The one track that a person means: by its UUID, the start of one, its title, or else a part of
/// its title. Never null. Throws CommandFailure when there is none, naming the candidates when
/// there are several.
std::shared_ptr<const PLXMediaItem> findTrack(const std::string& which,
                                              const YapDatabaseReadTransaction& transaction);
/// The same of several, one for each in its place, with one look at the tracks.
std::vector<std::shared_ptr<const PLXMediaItem>> findTracks(
    const std::vector<std::string>& which, const YapDatabaseReadTransaction& transaction);
/// In the write that follows: throws CommandFailure when another process has removed one meanwhile.
void requireTracks(const std::vector<std::shared_ptr<const PLXMediaItem>>& tracks,
                   const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
