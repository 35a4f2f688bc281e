#include "foundation/archiveDescription.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <bit>
#include <cmath>

#include "foundation/Date.h"
#include "foundation/detail/PropertyListReader.h"
#include "foundation/detail/archiveLimits.h"
#include "foundation/detail/archiveText.h"

namespace qsml {

namespace {

using detail::PlistItem;
using detail::PlistType;
using detail::PropertyListReader;

std::string base64(std::string_view bytes) {
    static constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t j = 0; j < 3; ++j)
            bits =
                bits << 8 | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0u);
        for (std::size_t j = 0; j < 4; ++j)
            text += i + j <= bytes.size() ? digits[bits >> (18 - 6 * j) & 63] : '=';
    }
    return text;
}

std::string textOf(const PlistItem& item) {
    std::string text;
    if (item.type == PlistType::utf16) {
        text.resize(detail::utf8SizeOfUTF16(item.body, item.count));
        detail::utf8FromUTF16(item.body, item.count, text.data());
    } else {
        text.resize(detail::utf8SizeOfLatin1(item.body, item.count));
        detail::utf8FromLatin1(item.body, item.count, text.data());
    }
    return text;
}

/// Writes the objects of one archive. A container may be written as often as it is referred to, so
/// what is written is bounded: in depth, and in all by a multiple of the input.
class Describer {
public:
    explicit Describer(std::span<const std::uint8_t> bytes)
        : left_(16 * bytes.size() + (std::size_t{1} << 20)) {
        reason_ = list_.open(bytes);
    }

    const char* describe() {
        if (reason_) return reason_;
        const PlistItem whole = list_.item(list_.top());
        const PlistItem top = list_.valueOf(whole, "$top");
        const PlistItem objects = list_.valueOf(whole, "$objects");
        if (top.type != PlistType::dictionary || objects.type != PlistType::array)
            return "the property list is not a keyed archive";
        json_.StartObject();
        writePart("version", list_.valueOf(whole, "$version"));
        writePart("archiver", list_.valueOf(whole, "$archiver"));
        writePart("top", top);
        writePart("objects", objects);
        if (!reason_) json_.EndObject();
        return reason_;
    }

    std::string text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    void fail(const char* reason) {
        if (!reason_) reason_ = reason;
    }
    bool charge(std::size_t size) {
        if (size > left_) {
            fail("the archive's description would be too large for its size");
        } else {
            left_ -= size;
        }
        return !reason_;
    }

    void writeText(const std::string& text) {
        json_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    void writePart(const char* name, const PlistItem& item) {
        if (reason_) return;
        json_.Key(name);
        if (item.type == PlistType::damaged) {
            json_.Null();  // a part that is missing: readable all the same
        } else {
            write(item, 0);
        }
    }
    void writeTagged(const char* name, const std::string& text) {
        json_.StartObject();
        json_.Key(name);
        writeText(text);
        json_.EndObject();
    }

    void write(const PlistItem& item, std::uint32_t depth) {
        if (!charge(4 + (item.type == PlistType::boolean ? 0 : std::size_t{item.count}))) return;
        switch (item.type) {
            case PlistType::damaged:
                return fail("the archive holds a damaged object");
            case PlistType::null:
                json_.Null();
                return;
            case PlistType::boolean:
                json_.Bool(item.count != 0);
                return;
            case PlistType::integer:
                return writeInteger(item);
            case PlistType::real:
                return writeReal(realOf(item));
            case PlistType::date:
                return writeDate(realOf(item));
            case PlistType::data:
                return writeTagged("$data", base64(item.bytes()));
            case PlistType::ascii:
            case PlistType::utf16:
                return writeText(textOf(item));
            case PlistType::uid:
                return writeReference(item);
            case PlistType::array:
                return writeArray(item, depth + 1);
            case PlistType::dictionary:
                return writeDictionary(item, depth + 1);
        }
    }

    static double realOf(const PlistItem& item) {
        const std::uint64_t bits = PropertyListReader::bigEndian(item.body, item.count);
        return item.count == 4 ? double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))}
                               : std::bit_cast<double>(bits);
    }

    void writeInteger(const PlistItem& item) {
        const bool isWide = item.count == 16;
        const std::uint64_t low =
            PropertyListReader::bigEndian(item.body + (isWide ? 8 : 0), isWide ? 8 : item.count);
        if (!isWide) {
            json_.Int64(static_cast<std::int64_t>(low));
        } else if (PropertyListReader::bigEndian(item.body, 8) == 0) {
            json_.Uint64(low);
        } else {
            json_.Null();  // no number that fits 64 bits
        }
    }
    void writeReal(double number) {
        if (std::isfinite(number)) {
            json_.Double(number);
        } else {
            writeText(std::isnan(number) ? "nan" : number < 0 ? "-inf" : "inf");
        }
    }
    void writeDate(double seconds) {
        const String text = iso8601(Date{seconds});
        json_.StartObject();
        json_.Key("$date");
        if (text) {
            writeText(text.str());
        } else {
            writeReal(seconds);  // no instant of the calendar
        }
        json_.EndObject();
    }
    void writeReference(const PlistItem& item) {
        const std::uint32_t uid = PropertyListReader::uid(item);
        if (uid == PropertyListReader::none) return fail("the archive holds a damaged reference");
        json_.StartObject();
        json_.Key("$uid");
        json_.Uint(uid);
        json_.EndObject();
    }

    bool enter(std::uint32_t depth) {
        if (depth > detail::mostArchiveDepth) fail("the archive is nested more than 512 deep");
        return !reason_;
    }
    void writeArray(const PlistItem& array, std::uint32_t depth) {
        if (!enter(depth)) return;
        json_.StartArray();
        for (std::uint32_t i = 0; i < array.count && !reason_; ++i)
            write(list_.item(list_.reference(array.body, i)), depth);
        if (!reason_) json_.EndArray();
    }
    void writeDictionary(const PlistItem& dictionary, std::uint32_t depth) {
        if (!enter(depth)) return;
        json_.StartObject();
        for (std::uint32_t i = 0; i < dictionary.count && !reason_; ++i) {
            const PlistItem key = list_.item(list_.reference(dictionary.body, i));
            if (!key.isString()) return fail("the archive holds a key that is no text");
            if (!charge(4 + std::size_t{key.count})) return;
            const std::string text = textOf(key);
            json_.Key(text.data(), static_cast<rapidjson::SizeType>(text.size()));
            write(list_.item(list_.reference(dictionary.body, dictionary.count + i)), depth);
        }
        if (!reason_) json_.EndObject();
    }

    PropertyListReader list_;
    std::size_t left_;
    const char* reason_ = nullptr;
    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> json_{buffer_};
};

}  // namespace

std::string archiveDescription(std::span<const std::uint8_t> bytes, Error* error) {
    Describer describer(bytes);
    const char* reason = describer.describe();
    if (!reason) return describer.text();
    report(error, {"KeyedUnarchiverErrorDomain", 1, reason});
    return {};
}

}  // namespace qsml
