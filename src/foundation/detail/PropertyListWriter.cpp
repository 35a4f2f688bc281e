#include "foundation/detail/PropertyListWriter.h"

#include "foundation/detail/archiveText.h"

namespace qsml::detail {

namespace {

std::uint8_t* putBigEndian(std::uint8_t* out, std::uint64_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        *out++ = static_cast<std::uint8_t>(value >> shift);
    return out;
}

int widthExponent(std::uint64_t value) {
    return value < 0x100 ? 0 : value < 0x10000 ? 1 : value < 0x100000000 ? 2 : 3;
}

std::uint8_t* putInteger(std::uint8_t* out, std::uint64_t value) {
    const int exponent = widthExponent(value);
    *out++ = static_cast<std::uint8_t>(0x10 | exponent);
    return putBigEndian(out, value, 1 << exponent);
}

/// Bytes of a marker with its count.
std::size_t headSize(std::size_t count) {
    return count < 15 ? 1 : 2 + (std::size_t{1} << widthExponent(count));
}

std::uint8_t* putHead(std::uint8_t* out, std::uint8_t kind, std::size_t count) {
    *out++ = static_cast<std::uint8_t>(kind | (count < 15 ? count : 15));
    return count < 15 ? out : putInteger(out, count);
}

}  // namespace

void PropertyListWriter::begin() {
    constexpr std::size_t ordinary = std::size_t{4} << 20;
    body_.shrink(ordinary);
    if (offsets_.capacity() > ordinary / 8) offsets_ = {};
    if (references_.capacity() > ordinary / 4) references_ = {};
    if (containers_.capacity() > ordinary / 16) containers_ = {};
    body_.clear();
    offsets_.clear();
    containers_.clear();
    references_.clear();
    std::memcpy(body_.extend(8), "bplist00", 8);
}

PropertyListWriter::Index PropertyListWriter::integer(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    return plain(1 + (std::size_t{1} << widthExponent(bits)),
                 [&](auto* out) { putInteger(out, bits); });
}

PropertyListWriter::Index PropertyListWriter::unsignedInteger(std::uint64_t value) {
    if (value >> 63 == 0) return integer(static_cast<std::int64_t>(value));
    return plain(17, [&](auto* out) {
        *out = 0x14;
        putBigEndian(putBigEndian(out + 1, 0, 8), value, 8);
    });
}

PropertyListWriter::Index PropertyListWriter::real(float value) {
    return plain(5, [&](auto* out) {
        *out = 0x22;
        putBigEndian(out + 1, std::bit_cast<std::uint32_t>(value), 4);
    });
}

PropertyListWriter::Index PropertyListWriter::real(double value) {
    return plain(9, [&](auto* out) {
        *out = 0x23;
        putBigEndian(out + 1, std::bit_cast<std::uint64_t>(value), 8);
    });
}

PropertyListWriter::Index PropertyListWriter::uid(std::uint32_t value) {
    const int width = 1 << widthExponent(value);
    return plain(static_cast<std::size_t>(width) + 1, [&](auto* out) {
        *out = static_cast<std::uint8_t>(0x80 | (width - 1));
        putBigEndian(out + 1, value, width);
    });
}

std::uint8_t* PropertyListWriter::headed(std::uint8_t kind, std::size_t count, std::size_t size) {
    std::uint8_t* body = nullptr;
    plain(headSize(count) + size, [&](auto* out) { body = putHead(out, kind, count); });
    return body;
}

PropertyListWriter::Index PropertyListWriter::data(std::span<const std::uint8_t> bytes) {
    std::uint8_t* body = headed(0x40, bytes.size(), bytes.size());
    if (!bytes.empty()) std::memcpy(body, bytes.data(), bytes.size());
    return static_cast<Index>(offsets_.size() - 1);
}

std::optional<PropertyListWriter::Index> PropertyListWriter::string(std::string_view text) {
    if (isASCII(text.data(), text.size())) {
        std::uint8_t* body = headed(0x50, text.size(), text.size());
        if (!text.empty()) std::memcpy(body, text.data(), text.size());
    } else {
        const std::int64_t units = utf16CountOfUTF8(text);
        if (units < 0) return std::nullopt;
        const auto count = static_cast<std::size_t>(units);
        utf16FromUTF8(text, headed(0x60, count, 2 * count));
    }
    return static_cast<Index>(offsets_.size() - 1);
}

bool PropertyListWriter::isString(Index index, std::string_view text) {
    const std::size_t size = body_.size();
    const auto again = string(text);
    if (!again) return false;
    const std::size_t written = body_.size() - size;
    const std::size_t offset = offsets_[index];
    const bool same = written <= size - offset &&
                      std::memcmp(body_.data() + offset, body_.data() + size, written) == 0;
    body_.truncate(size);
    offsets_.pop_back();
    return same;
}

void PropertyListWriter::fillArray(Index index, std::span<const Index> elements) {
    containers_.push_back({index, static_cast<std::uint32_t>(references_.size()),
                           static_cast<std::uint32_t>(elements.size()), false});
    references_.insert(references_.end(), elements.begin(), elements.end());
}

void PropertyListWriter::fillDictionary(Index index,
                                        std::span<const std::pair<Index, Index>> pairs) {
    const std::size_t first = references_.size(), count = pairs.size();
    containers_.push_back(
        {index, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(count), true});
    references_.resize(first + 2 * count);
    Index* out = references_.data() + first;
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = pairs[i].first;
        out[count + i] = pairs[i].second;
    }
}

template <int width>
void PropertyListWriter::writeContainers() {
    for (const Container& container : containers_) {
        const std::size_t references = container.count * (container.isDictionary ? 2u : 1u);
        offsets_[container.index] = static_cast<std::uint32_t>(body_.size());
        std::uint8_t* out = body_.extend(headSize(container.count) + references * width);
        out = putHead(out, container.isDictionary ? 0xD0 : 0xA0, container.count);
        const Index* from = references_.data() + container.firstReference;
        for (std::size_t i = 0; i < references; ++i) out = putBigEndian(out, from[i], width);
    }
}

std::span<const std::uint8_t> PropertyListWriter::finish(Index top) {
    const int exponent = widthExponent(offsets_.size() - 1);
    if (exponent == 0) writeContainers<1>();
    if (exponent == 1) writeContainers<2>();
    if (exponent > 1) writeContainers<4>();
    writeTrailer(top, exponent > 1 ? 4 : 1 << exponent);
    return body_.bytes();
}

void PropertyListWriter::writeTrailer(Index top, int referenceWidth) {
    const std::uint64_t table = body_.size();
    const int exponent = widthExponent(table);
    const int width = table < 0x10000 ? 1 << exponent : table < 0x1000000 ? 3 : 1 << exponent;
    const std::size_t tableSize = offsets_.size() * static_cast<std::size_t>(width);
    std::uint8_t* out = body_.extend(tableSize + 32);
    if (width == 2) {
        for (std::uint32_t offset : offsets_) out = putBigEndian(out, offset, 2);
    } else {
        for (std::uint32_t offset : offsets_) out = putBigEndian(out, offset, width);
    }
    out = putBigEndian(out, 0, 6);
    *out++ = static_cast<std::uint8_t>(width);
    *out++ = static_cast<std::uint8_t>(referenceWidth);
    out = putBigEndian(out, offsets_.size(), 8);
    out = putBigEndian(out, top, 8);
    putBigEndian(out, table, 8);
}

}  // namespace qsml::detail
