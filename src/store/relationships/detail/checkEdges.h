#pragma once
#include <functional>

#include "store/relationships/detail/fillEdges.h"

namespace qsml::detail {

using EdgeFault = std::function<void(std::string_view collection, std::string_view key,
                                     std::string_view description)>;

/// Compares what is stored with what the rows declare, and names each difference by the source. A
/// row that does not decode declares nothing that could be compared.
void checkEdges(EdgeTables& tables, const Collections& collections, const EdgeFault& fault);

}  // namespace qsml::detail
