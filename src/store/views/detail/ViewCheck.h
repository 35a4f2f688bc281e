#pragma once
#include <functional>
#include <memory>
#include <string_view>

#include "foundation/Error.h"
#include "store/views/YapDatabaseViewChanges.h"
#include "store/views/detail/ViewTree.h"

namespace qsml {
class YapDatabaseAutoView;
class YapDatabaseExtensionContext;
class YapDatabaseExtensionState;
}  // namespace qsml

namespace qsml::detail {

using ViewFault = std::function<void(std::string_view collection, std::string_view key,
                                     std::string_view description)>;

/// Compares what is stored of the view with what its rules give for the rows. False when the file
/// cannot be read; throws ViewFailure. O(n log n), with all keys in memory.
bool checkAutoView(const YapDatabaseAutoView& view, YapDatabaseExtensionContext& context,
                   const ViewFault& fault, Error* error);

/// Every row of the view as an insertion, without its key.
std::shared_ptr<const YapDatabaseViewChanges> changesOfWholeView(
    const YapDatabaseExtensionState& state, ViewNodeSource& source);

}  // namespace qsml::detail
