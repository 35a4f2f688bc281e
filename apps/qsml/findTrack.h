#pragma once
#include <functional>
#include <memory>
#include <string>

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

}  // namespace qsml::app
