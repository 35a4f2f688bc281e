#pragma once
#include <functional>

#include "commands.h"

namespace qsml {
class PLXMediaItem;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// Runs the block on one snapshot of the library, which must exist. Throws CommandFailure when it
/// cannot be read to the end. What the block puts out is flushed.
void readLibrary(const CommonOptions& common,
                 const std::function<void(YapDatabaseReadTransaction&)>& block);

/// Calls the block with each track that can be decoded, in no stated order.
void enumerateTracks(const YapDatabaseReadTransaction& transaction,
                     const std::function<void(const PLXMediaItem&)>& block);

}  // namespace qsml::app
