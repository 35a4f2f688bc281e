#include "store/detail/checksum.h"

#define XXH_INLINE_ALL
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wcast-align"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <xxhash.h>
#pragma GCC diagnostic pop

#include "store/detail/PackedKey.h"

namespace qsml::detail {

namespace {

constexpr std::uint64_t absentLength = ~std::uint64_t{0};

std::uint64_t lengthOf(const std::optional<Bytes>& bytes) {
    return bytes ? bytes->size() : absentLength;
}

std::uint64_t hashed(const std::optional<Bytes>& bytes, std::uint64_t seed) {
    return bytes && !bytes->empty() ? XXH3_64bits_withSeed(bytes->data(), bytes->size(), seed)
                                    : seed;
}

}  // namespace

std::int64_t rowChecksum(std::uint64_t seed, const PackedKey& key, std::optional<Bytes> data,
                         std::optional<Bytes> metadata) {
    const std::uint64_t head[] = {seed, key.isText() ? 1u : 0u, key.bytes().size(), lengthOf(data),
                                  lengthOf(metadata)};
    std::uint64_t sum = XXH3_64bits(head, sizeof head);
    sum = hashed(key.bytes(), sum);
    sum = hashed(data, sum);
    sum = hashed(metadata, sum);
    return static_cast<std::int64_t>(sum);
}

std::uint64_t collectionSeed(std::int64_t collectionId, std::string_view name) {
    return XXH3_64bits_withSeed(name.data() ? name.data() : "", name.size(),
                                static_cast<std::uint64_t>(collectionId));
}

std::uint64_t textChecksum(std::string_view text) {
    return XXH3_64bits(text.data() ? text.data() : "", text.size());
}

std::uint64_t textChecksum(std::string_view text, std::uint64_t seed) {
    return XXH3_64bits_withSeed(text.data() ? text.data() : "", text.size(), seed);
}

}  // namespace qsml::detail
