#include "foundation/detail/PropertyListReader.h"

#include <cstring>
#include <string>

#include "foundation/detail/archiveLimits.h"
#include "foundation/detail/archiveText.h"

namespace qsml::detail {

const char* PropertyListReader::open(std::span<const std::uint8_t> bytes) {
    objectCount_ = 0;
    if (bytes.empty()) return "the archive is empty";
    if (bytes.size() > mostArchiveBytes) return "the archive is larger than 64 MB";
    if (bytes.size() < headerSize + 1 + trailerSize ||
        std::memcmp(bytes.data(), "bplist00", headerSize) != 0)
        return "the bytes are not a binary property list";
    const std::uint8_t* trailer = bytes.data() + bytes.size() - trailerSize;
    offsetWidth_ = trailer[6];
    referenceWidth_ = trailer[7];
    const std::uint64_t count = bigEndian(trailer + 8, 8);
    const std::uint64_t top = bigEndian(trailer + 16, 8);
    const std::uint64_t table = bigEndian(trailer + 24, 8);
    if (offsetWidth_ < 1 || offsetWidth_ > 8 || referenceWidth_ < 1 || referenceWidth_ > 8)
        return "the property list is damaged: its trailer has impossible widths";
    if (count > mostArchiveNodes) return "the property list has more than 1000000 objects";
    const std::uint64_t room = bytes.size() - trailerSize;
    if (table <= headerSize || table > room || count * offsetWidth_ > room - table)
        return "the property list is damaged: its offset table lies outside";
    if (top >= count) return "the property list is damaged: its top object lies outside";
    begin_ = bytes.data();
    // Objects never lie inside the table; where it does not follow them, they may follow it.
    end_ = begin_ + (table + count * offsetWidth_ == room ? table : room);
    isCompact_ = offsetWidth_ == 2 && referenceWidth_ == 1;
    room_ = static_cast<std::uint64_t>(end_ - begin_) - headerSize;
    table_ = begin_ + table;
    objectCount_ = static_cast<std::uint32_t>(count);
    top_ = static_cast<std::uint32_t>(top);
    return nullptr;
}

PlistItem PropertyListReader::sized(PlistType type, const std::uint8_t* body, std::uint64_t count,
                                    std::uint64_t unitSize) const {
    const auto room = static_cast<std::uint64_t>(end_ - body);
    // The count alone is checked first: then the product cannot overflow.
    if (count > room || count * unitSize > room) return {};
    return {type, static_cast<std::uint32_t>(count), body};
}

PlistItem PropertyListReader::parse(const std::uint8_t* at) const {
    const std::uint8_t marker = *at++;
    std::uint64_t count = marker & 0x0F;
    if (markers[marker].type != PlistType::damaged) return {};  // its body is cut off
    if (count == 15) {
        if (at == end_ || *at < 0x10 || *at > 0x13) return {};
        const std::size_t width = std::size_t{1} << (*at++ & 0x0F);
        if (static_cast<std::size_t>(end_ - at) < width) return {};
        count = bigEndian(at, width);
        at += width;
    }
    switch (marker >> 4) {
        case 0x4:
            return sized(PlistType::data, at, count, 1);
        case 0x5:
            return sized(PlistType::ascii, at, count, 1);
        case 0x6:
            return sized(PlistType::utf16, at, count, 2);
        case 0xA:
            return sized(PlistType::array, at, count, referenceWidth_);
        case 0xD:
            return sized(PlistType::dictionary, at, count, 2u * referenceWidth_);
        default:
            return {};
    }
}

std::uint32_t PropertyListReader::wideUid(const PlistItem& item) {
    std::size_t zeros = 0;
    while (zeros < item.count && item.body[zeros] == 0) ++zeros;
    if (item.count - zeros > 8) return none;
    return narrowed(bigEndian(item.body + zeros, item.count - zeros));
}

/// The forms of a text beside the one that holds its length in the marker.
bool PropertyListReader::isLongText(const std::uint8_t* at, std::string_view text) const {
    const PlistItem item = parse(at);
    if (item.type == PlistType::ascii)
        return item.count == text.size() && std::memcmp(item.body, text.data(), text.size()) == 0;
    // No text is longer in UTF-16 units than it is in UTF-8 bytes.
    if (item.type != PlistType::utf16 || item.count > text.size()) return false;
    if (utf8SizeOfUTF16(item.body, item.count) != text.size()) return false;
    std::string written(text.size(), '\0');
    utf8FromUTF16(item.body, item.count, written.data());
    return written == text;
}

}  // namespace qsml::detail
