#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace qsml::detail {

enum class PlistType : std::uint8_t {
    damaged,
    null,
    boolean,
    integer,
    real,
    date,
    data,
    ascii,
    utf16,
    uid,
    array,
    dictionary
};

/// One object of a property list, in place. The body lies wholly inside the list.
struct PlistItem {
    PlistType type = PlistType::damaged;
    /// Bytes of a number, data or single-byte text, UTF-16 units, elements, pairs; a boolean's
    /// value.
    std::uint32_t count = 0;
    const std::uint8_t* body = nullptr;

    bool isString() const { return type == PlistType::ascii || type == PlistType::utf16; }
    bool isNumber() const {
        return type == PlistType::boolean || type == PlistType::integer || type == PlistType::real;
    }
    std::string_view bytes() const { return {reinterpret_cast<const char*>(body), count}; }
};

/// What a marker alone tells: the body's size where it depends on nothing else.
struct alignas(4) PlistMarker {
    PlistType type = PlistType::damaged;
    std::uint8_t count = 0;       // as in PlistItem
    std::uint8_t size = 0;        // of the body in bytes
    std::uint8_t references = 0;  // in the body, each as wide as the list says
};

constexpr std::array<PlistMarker, 256> plistMarkers() {
    std::array<PlistMarker, 256> all{};
    all[0x00] = {PlistType::null, 0, 0};
    all[0x08] = {PlistType::boolean, 0, 0};
    all[0x09] = {PlistType::boolean, 1, 0};
    for (std::uint8_t i = 0; i <= 4; ++i) {
        const auto width = static_cast<std::uint8_t>(1u << i);
        all[0x10u + i] = {PlistType::integer, width, width};
    }
    all[0x22] = {PlistType::real, 4, 4};
    all[0x23] = {PlistType::real, 8, 8};
    all[0x33] = {PlistType::date, 8, 8};
    for (std::uint8_t i = 0; i < 15; ++i) {
        all[0x40u + i] = {PlistType::data, i, i};
        all[0x50u + i] = {PlistType::ascii, i, i};
        all[0xA0u + i] = {PlistType::array, i, 0, i};
        all[0xD0u + i] = {PlistType::dictionary, i, 0, static_cast<std::uint8_t>(2 * i)};
    }
    for (std::uint8_t i = 0; i < 16; ++i) {
        const auto width = static_cast<std::uint8_t>(i + 1);
        all[0x80u + i] = {PlistType::uid, width, width};
    }
    return all;
}

/// Whether two runs of bytes are the same; in line, because keys are short and compared all the
/// time.
inline bool sameBytes(const void* a, const void* b, std::size_t size) noexcept {
    auto word = [](const void* at, std::size_t offset) {
        std::uint64_t bits;
        std::memcpy(&bits, static_cast<const char*>(at) + offset, sizeof bits);
        return bits;
    };
    auto half = [](const void* at, std::size_t offset) {
        std::uint32_t bits;
        std::memcpy(&bits, static_cast<const char*>(at) + offset, sizeof bits);
        return bits;
    };
    if (size > 16) return std::memcmp(a, b, size) == 0;
    if (size >= 8) return word(a, 0) == word(b, 0) && word(a, size - 8) == word(b, size - 8);
    if (size >= 4) return half(a, 0) == half(b, 0) && half(a, size - 4) == half(b, size - 4);
    for (std::size_t i = 0; i < size; ++i)
        if (static_cast<const char*>(a)[i] != static_cast<const char*>(b)[i]) return false;
    return true;
}

/// Reads a binary property list in place. Nothing that it answers points outside the bytes,
/// whatever they hold; an object that would is damaged. Never recurses.
class PropertyListReader {
public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// Null, or why the bytes are no property list that we read. They must outlive the use.
    const char* open(std::span<const std::uint8_t> bytes);

    std::uint32_t objectCount() const { return objectCount_; }
    std::uint32_t top() const { return top_; }

    PlistItem item(std::uint32_t index) const {
        const std::uint8_t* at = place(index);
        if (!at) return {};
        const PlistMarker marker = markers[*at];
        if (marker.type != PlistType::damaged &&
            end_ - at > marker.size + marker.references * referenceWidth_)
            return {marker.type, marker.count, at + 1};
        // Texts of 15 to 255 bytes.
        if (*at == 0x5F && end_ - at > 2 && at[1] == 0x10 && end_ - at - 3 >= at[2])
            return {PlistType::ascii, at[2], at + 3};
        return parse(at);
    }

    /// Whether the object is this text.
    bool isText(std::uint32_t index, std::string_view text) const {
        const std::uint8_t* at = place(index);
        return at && isTextAt(at, text);
    }
    bool isTextAt(const std::uint8_t* at, std::string_view text) const {
        const auto room = static_cast<std::size_t>(end_ - at);
        const std::size_t size = text.size();
        if (size < 15 && *at == (0x50 | size))
            return room > size && sameBytes(at + 1, text.data(), size);
        if (*at < 0x5F) return false;
        if (*at > 0x5F || room < 3 || at[1] != 0x10) return isLongText(at, text);
        return at[2] == size && room - 3 >= size && sameBytes(at + 3, text.data(), size);
    }

    /// The index at a place in an array's body, or in a dictionary's: keys first, then values.
    /// References that no index can hold become `none`, which is the index of nothing.
    std::uint32_t reference(const std::uint8_t* body, std::uint32_t position) const {
        if (referenceWidth_ == 1) return body[position];
        if (referenceWidth_ == 2) return bigEndian16(body + 2 * std::size_t{position});
        return narrowed(bigEndian(body + std::size_t{position} * referenceWidth_, referenceWidth_));
    }

    /// Most archives: fewer than 256 objects in fewer than 64 KB.
    bool isCompact() const { return isCompact_; }
    /// Where an object of a compact list begins; null for an index or an offset that lies outside.
    const std::uint8_t* compactPlace(std::uint8_t index) const {
        if (index >= objectCount_) return nullptr;
        const std::uint64_t offset = bigEndian16(table_ + 2 * std::size_t{index});
        return offset - headerSize < room_ ? begin_ + offset : nullptr;
    }
    PlistItem itemAt(const std::uint8_t* at) const {
        const PlistMarker marker = markers[*at];
        if (marker.type != PlistType::damaged &&
            end_ - at > marker.size + marker.references * referenceWidth_)
            return {marker.type, marker.count, at + 1};
        return parse(at);
    }

    /// The value of the first key of that name; damaged when there is none.
    PlistItem valueOf(const PlistItem& dictionary, std::string_view key) const {
        if (dictionary.type != PlistType::dictionary) return {};
        for (std::uint32_t i = 0; i < dictionary.count; ++i)
            if (isText(reference(dictionary.body, i), key))
                return item(reference(dictionary.body, dictionary.count + i));
        return {};
    }

    /// A UID; `none` when it is not one, or larger than any index.
    static std::uint32_t uid(const PlistItem& item) {
        if (item.type != PlistType::uid) return none;
        if (item.count == 1) return item.body[0];
        return wideUid(item);
    }

    static std::uint32_t bigEndian32(const std::uint8_t* at) {
        return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 |
               at[3];
    }
    static std::uint64_t bigEndian64(const std::uint8_t* at) {
        return std::uint64_t{bigEndian32(at)} << 32 | bigEndian32(at + 4);
    }
    static std::uint64_t bigEndian(const std::uint8_t* bytes, std::size_t width) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
        return value;
    }

private:
    static constexpr std::size_t headerSize = 8, trailerSize = 32;

    static constexpr std::array<PlistMarker, 256> markers = plistMarkers();

    /// Where an object begins; null for an index or an offset that lies outside.
    const std::uint8_t* place(std::uint32_t index) const {
        if (index >= objectCount_) return nullptr;
        const std::uint64_t offset =
            offsetWidth_ == 2 ? bigEndian16(table_ + 2 * std::size_t{index})
                              : bigEndian(table_ + std::size_t{index} * offsetWidth_, offsetWidth_);
        // Offsets into the header wrap around and are too large as well.
        return offset - headerSize < room_ ? begin_ + offset : nullptr;
    }
    bool isLongText(const std::uint8_t* at, std::string_view text) const;

    static std::uint32_t bigEndian16(const std::uint8_t* bytes) {
        return static_cast<std::uint32_t>(bytes[0] << 8 | bytes[1]);
    }
    static std::uint32_t narrowed(std::uint64_t value) {
        return value < none ? static_cast<std::uint32_t>(value) : none;
    }
    static std::uint32_t wideUid(const PlistItem& item);
    PlistItem parse(const std::uint8_t* at) const;
    PlistItem sized(PlistType type, const std::uint8_t* body, std::uint64_t count,
                    std::uint64_t unitSize) const;

    const std::uint8_t* begin_ = nullptr;
    const std::uint8_t* end_ = nullptr;  // where the objects end: the offset table or the trailer
    const std::uint8_t* table_ = nullptr;
    std::uint64_t room_ = 0;  // of the objects, in bytes
    std::uint32_t objectCount_ = 0, top_ = 0;
    std::uint8_t offsetWidth_ = 0, referenceWidth_ = 0;
    bool isCompact_ = false;
};

}  // namespace qsml::detail
