#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qsml::detail {

class PackedKey;

using Bytes = std::span<const std::uint8_t>;

/// What ties a row's bytes to each other and to the name of its collection; the seed is that of the
/// name.
std::int64_t rowChecksum(std::uint64_t collectionSeed, const PackedKey& key,
                         std::optional<Bytes> data, std::optional<Bytes> metadata);
std::uint64_t collectionSeed(std::int64_t collectionId, std::string_view name);
std::uint64_t textChecksum(std::string_view text);
/// That of a text that follows others, whose checksum is the seed.
std::uint64_t textChecksum(std::string_view text, std::uint64_t seed);

}  // namespace qsml::detail
