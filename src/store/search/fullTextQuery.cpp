#include "store/search/fullTextQuery.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <vector>

namespace qsml {

namespace {

constexpr std::size_t wordLimit = 100;

std::string quoted(std::string_view text) {
    std::string made = "\"";
    for (const char c : text) {
        if (c == '"') made += '"';
        made += c == '\0' ? ' ' : c;  // a query ends at a zero byte; in texts it only separates
    }
    return made + '"';
}

/// What the tokenizer takes for a part of a word.
bool isOfWord(UChar32 character) {
    return u_isalnum(character) || u_isalpha(character) ||
           (U_GET_GC_MASK(character) & (U_GC_N_MASK | U_GC_CO_MASK)) != 0;
}

bool isSeparator(UChar32 character) {
    return character < 0 || u_isUWhiteSpace(character) || u_iscntrl(character);
}

/// The words of a text, those that the tokenizer would see as nothing left out.
class Words {
public:
    explicit Words(std::string_view text) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        for (std::size_t at = 0; at < text.size() && words_.size() < wordLimit;) {
            const std::size_t first = at;
            UChar32 character = 0;
            U8_NEXT(bytes, at, text.size(), character);
            if (isSeparator(character)) {
                end();
                continue;
            }
            word_.append(text.substr(first, at - first));
            isWord_ = isWord_ || isOfWord(character);
        }
        if (words_.size() < wordLimit) end();
    }
    const std::vector<std::string>& words() const { return words_; }

private:
    void end() {
        if (isWord_) words_.push_back(word_);
        word_.clear();
        isWord_ = false;
    }

    std::vector<std::string> words_;
    std::string word_;
    bool isWord_ = false;
};

}  // namespace

std::string fullTextQueryForTypedText(std::string_view text) {
    const Words typed(text);
    std::string query;
    for (const std::string& word : typed.words()) {
        if (!query.empty()) query += " AND ";
        query += quoted(word);
    }
    return query.empty() ? query : query + '*';
}

std::string fullTextQueryForExactToken(std::string_view column, std::string_view token) {
    return quoted(column) + " : " + quoted(token);
}

}  // namespace qsml
