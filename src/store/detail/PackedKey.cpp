#include "store/detail/PackedKey.h"

#include <sqlite3.h>

#include "store/detail/Statement.h"

namespace qsml::detail {

namespace {

constexpr std::size_t digestText = 32, digestBytes = 16, uuidText = 36, uuidBytes = 17;
constexpr std::string_view lowerDigits = "0123456789abcdef", upperDigits = "0123456789ABCDEF";
constexpr std::uint8_t uuidMark = 1;

bool isHyphen(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

/// The digit's value, or -1; letters must be of the given case.
int digitValue(char c, char firstLetter) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= firstLetter && c <= firstLetter + 5) return c - firstLetter + 10;
    return -1;
}

bool packDigits(std::string_view text, char firstLetter, std::uint8_t* bytes) {
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.size() == uuidText && isHyphen(i)) {
            if (text[i] != '-') return false;
            continue;
        }
        const int value = digitValue(text[i], firstLetter);
        if (value < 0) return false;
        auto& byte = bytes[digits / 2];
        byte = static_cast<std::uint8_t>(digits % 2 ? byte * 16 + value : value);
        ++digits;
    }
    return true;
}

char* unpackByte(std::uint8_t byte, std::string_view digits, char* text) {
    *text++ = digits[byte >> 4];
    *text++ = digits[byte & 15];
    return text;
}

}  // namespace

PackedKey::PackedKey(std::string_view key) : text_(key) {
    if (key.size() == digestText && packDigits(key, 'a', packed_.data())) {
        size_ = digestBytes;
    } else if (key.size() == uuidText && packDigits(key, 'A', packed_.data() + 1)) {
        packed_[0] = uuidMark;
        size_ = uuidBytes;
    }
}

void PackedKey::bindTo(Query& query, int index) const {
    if (isText())
        query.bindText(index, text_);
    else
        query.bindBlob(index, bytes());
}

bool UnpackedKey::read(const Query& query, int column) {
    switch (query.type(column)) {
        case SQLITE_TEXT: {
            const std::string_view text = query.text(column);
            return read({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, true);
        }
        case SQLITE_BLOB:
            return read(query.blob(column), false);
        default:
            view_ = {};
            return false;
    }
}

bool UnpackedKey::read(std::span<const std::uint8_t> bytes, bool isText) {
    if (isText) {
        view_ = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
        if (!view_.data()) view_ = "";
        return PackedKey(view_).isText();
    }
    char* end = text_.data();
    if (bytes.size() == digestBytes) {
        for (const std::uint8_t byte : bytes) end = unpackByte(byte, lowerDigits, end);
    } else if (bytes.size() == uuidBytes && bytes[0] == uuidMark) {
        for (std::size_t i = 1; i < bytes.size(); ++i) {
            if (isHyphen(static_cast<std::size_t>(end - text_.data()))) *end++ = '-';
            end = unpackByte(bytes[i], upperDigits, end);
        }
    } else {
        view_ = "";
        return false;
    }
    view_ = {text_.data(), static_cast<std::size_t>(end - text_.data())};
    return true;
}

}  // namespace qsml::detail
