#pragma once
#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/detail/ByteBuffer.h"

namespace qsml::detail {

/// Writes one binary property list after the other, reusing its buffers.
///
/// Plain objects are written at once. Containers are written at the end, when the number of
/// objects, and with it the width of a reference, is known. An object is named by its index in the
/// list. Confined to one thread at a time.
class PropertyListWriter {
public:
    using Index = std::uint32_t;

    void begin();

    Index boolean(bool value) {
        return plain(1, [&](auto* out) { out[0] = value ? 0x09 : 0x08; });
    }
    Index integer(std::int64_t value);
    Index unsignedInteger(std::uint64_t value);
    Index real(float value);
    Index real(double value);
    Index data(std::span<const std::uint8_t> bytes);
    Index uid(std::uint32_t value);
    /// Nothing when the text is not valid UTF-8.
    std::optional<Index> string(std::string_view text);
    /// Whether the object is this text: for callers that meet an address again.
    bool isString(Index index, std::string_view text);

    /// An object whose content follows later.
    Index reserve() {
        offsets_.push_back(0);
        return static_cast<Index>(offsets_.size() - 1);
    }
    void fillArray(Index index, std::span<const Index> elements);
    /// Pairs of key and value.
    void fillDictionary(Index index, std::span<const std::pair<Index, Index>> pairs);

    std::size_t objectCount() const { return offsets_.size(); }
    std::size_t byteCount() const { return body_.size(); }
    /// The finished list, valid until begin().
    std::span<const std::uint8_t> finish(Index top);

private:
    struct Container {
        Index index;
        std::uint32_t firstReference, count;
        bool isDictionary;
    };

    template <class Write>
    Index plain(std::size_t size, Write&& write) {
        const Index index = reserve();
        offsets_.back() = static_cast<std::uint32_t>(body_.size());
        write(body_.extend(size));
        return index;
    }
    std::uint8_t* headed(std::uint8_t kind, std::size_t count, std::size_t size);
    template <int width>
    void writeContainers();
    void writeTrailer(Index top, int referenceWidth);

    ByteBuffer body_;
    std::vector<std::uint32_t> offsets_;  // of each object; the writer's limits keep them small
    std::vector<Container> containers_;
    std::vector<Index> references_;
};

}  // namespace qsml::detail
