#pragma once
#include <optional>

#include "Table.h"

namespace qsml {
class PLXMediaItem;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// Writes tracks on standard output: a table for people, or a JSON object a line. Confined to one
/// thread.
class TrackList {
public:
    explicit TrackList(bool asJSON);
    void add(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction);

private:
    std::optional<Table> table_;
};

}  // namespace qsml::app
