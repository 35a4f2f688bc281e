#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

/// Of every row as it is stored, in a file whose structure is sound: SQLite takes bytes that a read
/// did not deliver for zeros, which must not pass for content in a copy. Nothing, with the error,
/// when the file is damaged or cannot be read. `action` is what the file is read for: "could not be
/// ACTION". O(size of the file).
std::optional<std::uint64_t> contentChecksum(SqliteHandle& handle, std::string_view action,
                                             Error* error);
/// Whether the file has that checksum; the error says so when it has not.
bool hasContent(SqliteHandle& handle, std::uint64_t content, std::string_view action, Error* error);

}  // namespace qsml::detail
