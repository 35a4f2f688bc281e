#pragma once
#include <vector>

#include "store/YapDatabaseExtension.h"

namespace qsml::detail {

/// The rows that refer to this one by an edge of that name, from the graph: no other row is looked
/// at. None where the relationship extension is absent.
std::vector<YapDatabaseCollectionKey> edgeSources(YapDatabaseReadTransaction& transaction,
                                                  const YapDatabaseRow& destination,
                                                  std::string_view edgeName);

}  // namespace qsml::detail
