#include "store/search/detail/separatedText.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace qsml::detail {

namespace {

struct Range {
    UChar32 first, last;
};

/// Ascending.
constexpr Range scriptsWithoutBlanks[] = {
    {0x0E01, 0x0E4E},    // Thai
    {0x0E81, 0x0ECD},    // Lao
    {0x1000, 0x109F},    // Myanmar
    {0x1780, 0x17D3},    // Khmer
    {0x3005, 0x3007},    // iteration mark, zero
    {0x3031, 0x3035},    // repeat marks
    {0x3041, 0x30FF},    // Hiragana, Katakana
    {0x3105, 0x312F},    // Bopomofo
    {0x31A0, 0x31BF},    // Bopomofo extended
    {0x31F0, 0x31FF},    // Katakana extensions
    {0x3400, 0x4DBF},    // ideographs, extension A
    {0x4E00, 0x9FFF},    // ideographs
    {0xA9E0, 0xA9FE},    // Myanmar extended B
    {0xAA60, 0xAA7F},    // Myanmar extended A
    {0xF900, 0xFAFF},    // compatibility ideographs
    {0xFF66, 0xFF9F},    // halfwidth Katakana
    {0x1AFF0, 0x1B16F},  // Kana supplements
    {0x20000, 0x3FFFF}   // further ideographs
};
constexpr unsigned char firstLeadByte = 0xE0;  // of all these

bool isWithoutBlanks(UChar32 character) {
    const auto* found =
        std::lower_bound(std::begin(scriptsWithoutBlanks), std::end(scriptsWithoutBlanks),
                         character, [](const Range& range, UChar32 of) { return range.last < of; });
    return found != std::end(scriptsWithoutBlanks) && found->first <= character;
}

bool mayHaveSuch(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= firstLeadByte; });
}

bool isBarewordByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) || c == '_' || byte == 0x1A || byte >= 0x80;
}

/// Walks over a query, token by token.
class Separator {
public:
    Separator(std::string_view query, const std::vector<std::string>& columns)
        : query_(query), columns_(columns) {}

    std::string run() {
        while (position_ < query_.size()) {
            const char c = query_[position_];
            if (c == '"')
                quotation();
            else if (isBarewordByte(c))
                bareword();
            else
                sign(c);
        }
        return std::move(result_);
    }

private:
    void sign(char c) {
        if (c == '{') isInBraces_ = true;
        if (c == '}') isInBraces_ = false;
        result_ += c;
        ++position_;
    }

    void quotation() {
        std::size_t end = position_ + 1;
        std::string content;
        for (; end < query_.size(); ++end) {
            if (query_[end] != '"') {
                content += query_[end];
            } else if (end + 1 < query_.size() && query_[end + 1] == '"') {
                content += query_[end++];
            } else {
                break;
            }
        }
        const std::string_view written = query_.substr(position_, end + 1 - position_);
        position_ = std::min(end + 1, query_.size());
        result_ += isColumn(content) ? std::string(written) : separatedText(written);
    }

    void bareword() {
        const std::size_t first = position_;
        while (position_ < query_.size() && isBarewordByte(query_[position_])) ++position_;
        const std::string_view word = query_.substr(first, position_ - first);
        const std::string separated = isColumn(word) ? std::string(word) : separatedText(word);
        result_ += separated == word ? separated : '"' + separated + '"';
    }

    /// Whether the token before the position is the name of a column, before a colon or in a list.
    bool isColumn(std::string_view token) const {
        if (std::find(columns_.begin(), columns_.end(), token) == columns_.end()) return false;
        const std::size_t next = query_.find_first_not_of(" \t\r\n", position_);
        return isInBraces_ || (next != std::string_view::npos && query_[next] == ':');
    }

    std::string_view query_;
    const std::vector<std::string>& columns_;
    std::string result_;
    std::size_t position_ = 0;
    bool isInBraces_ = false;
};

}  // namespace

std::string separatedText(std::string_view text) {
    if (!mayHaveSuch(text)) return std::string(text);
    std::string separated;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t first = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, text.size(), character);
        const bool isApart = character >= 0 && isWithoutBlanks(character);
        if (isApart) separated += ' ';
        separated.append(text.substr(first, at - first));
        if (isApart) separated += ' ';
    }
    return separated;
}

String separatedText(const String& text) {
    if (!text || !mayHaveSuch(text.view())) return text;
    return String(separatedText(text.view()));
}

std::string separatedQuery(std::string_view query, const std::vector<std::string>& columns) {
    if (!mayHaveSuch(query)) return std::string(query);
    return Separator(query, columns).run();
}

}  // namespace qsml::detail
