#include "tagTexts.h"

#include <QSMediaLibraryData/foundation/text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace qsml::app {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char lowerASCII(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Digits only, at most six of them after leading zeros; an empty text is 0.
std::optional<std::int64_t> wholeNumber(std::string_view text) {
    constexpr std::int64_t highest = 999'999;
    text = trimmingWhitespaceAndNewlines(text);
    std::int64_t number = 0;
    for (const char c : text) {
        if (!isDigit(c)) return std::nullopt;
        number = number * 10 + (c - '0');
        if (number > highest) return std::nullopt;
    }
    return number;
}

constexpr std::array<std::string_view, 10> separators = {
    ";", ",", " / ", " & ", " feat. ", " feat ", " ft. ", " ft ", " featuring ", " vs. "};

/// The length of the separator at that place; 0 where there is none.
std::size_t separatorLengthAt(std::string_view text, std::size_t place) {
    for (const std::string_view separator : separators) {
        const auto there = text.substr(place, separator.size());
        if (std::equal(there.begin(), there.end(), separator.begin(), separator.end(),
                       [](char a, char b) { return lowerASCII(a) == b; }))
            return separator.size();
    }
    return 0;
}

}  // namespace

std::optional<NumberAndCount> numberAndCountFromTag(std::string_view text) {
    const auto slash = text.find('/');
    const auto number = wholeNumber(text.substr(0, slash));
    const auto count = wholeNumber(slash == std::string_view::npos ? "" : text.substr(slash + 1));
    if (!number || !count) return std::nullopt;
    return NumberAndCount{*number, *count};
}

std::optional<float> tempoFromTag(std::string_view text) {
    std::string digits(trimmingWhitespaceAndNewlines(text));
    std::replace(digits.begin(), digits.end(), ',', '.');
    float tempo = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, failure] =
        std::from_chars(digits.data(), end, tempo, std::chars_format::fixed);
    if (failure != std::errc() || stop != end || !std::isfinite(tempo)) return std::nullopt;
    if (tempo < 0 || tempo >= 1000) return std::nullopt;
    return std::fabs(tempo);  // "-0" is 0
}

std::optional<ReleaseTime> releaseTimeFromTag(std::string_view text) {
    std::string iso(trimmingWhitespaceAndNewlines(text));
    if (iso.size() < 4 || !std::all_of(iso.begin(), iso.begin() + 4, isDigit)) return std::nullopt;
    if (iso.size() > 4 && isDigit(iso[4])) return std::nullopt;
    ReleaseTime time;
    time.year = *wholeNumber(std::string_view(iso).substr(0, 4));
    if (time.year == 0) return std::nullopt;
    if (iso.size() == 4) return time;
    if (iso.size() > 10 && iso[10] == ' ') iso[10] = 'T';
    const auto date = dateFromISO8601(iso);
    time.isWhole = date.has_value();
    constexpr std::size_t lengthOfDay = 10;  // YYYY-MM-DD
    if (iso.size() >= lengthOfDay) time.date = date;
    return time;
}

std::optional<std::string> isrcFromTag(std::string_view text) {
    std::string code;
    for (const char c : text) {
        if (c == ' ' || c == '-') continue;
        code += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    constexpr std::size_t country = 2, registrant = 5, length = 12;
    if (code.size() != length) return std::nullopt;
    for (std::size_t i = 0; i < length; ++i) {
        const bool isLetter = code[i] >= 'A' && code[i] <= 'Z';
        const bool isRight = i < country      ? isLetter
                             : i < registrant ? isLetter || isDigit(code[i])
                                              : isDigit(code[i]);
        if (!isRight) return std::nullopt;
    }
    return code;
}

std::vector<std::string> splitNames(std::string_view text) {
    std::vector<std::string> names;
    const auto add = [&](std::string_view name) {
        name = trimmingWhitespaceAndNewlines(name);
        if (!name.empty()) names.emplace_back(name);
    };
    std::size_t start = 0;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t length = separatorLengthAt(text, place);
        if (length == 0) {
            ++place;
            continue;
        }
        add(text.substr(start, place - start));
        place += length;
        start = place;
    }
    add(text.substr(start));
    return names;
}

}  // namespace qsml::app
