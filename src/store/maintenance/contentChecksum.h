#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

/// Of every row as it is stored. Nothing, with the error, when the file cannot be read. `action` is
/// what the file is read for: "could not be ACTION". O(size of the file).
std::optional<std::uint64_t> contentChecksum(SqliteHandle& handle, std::string_view action,
                                             Error* error);
/// Whether a copy has that checksum and is sound: SQLite takes bytes that a read did not deliver
/// for zeros, which must not pass for content. The error says what is wrong.
enum class Content { same, different, unreadable };
Content contentOf(SqliteHandle& handle, std::uint64_t expected, std::string_view action,
                  Error* error);

}  // namespace qsml::detail
