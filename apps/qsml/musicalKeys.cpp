#include "musicalKeys.h"

#include <array>
#include <optional>
#include <string>

namespace qsml::app {

namespace {

constexpr std::array<std::string_view, 24> names = {
    "C",  "C#",  "D",  "D#",  "E",  "F",  "F#",  "G",  "G#",  "A",  "A#",  "B",
    "Cm", "C#m", "Dm", "D#m", "Em", "Fm", "F#m", "Gm", "G#m", "Am", "A#m", "Bm"};

/// ASCII lower case without blanks; the signs for sharp and flat become "#" and "b".
std::string simplified(std::string_view text) {
    std::string simple;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (text.substr(i, 3) == "\u266F" || text.substr(i, 3) == "\u266D") {
            simple += text.substr(i, 3) == "\u266F" ? '#' : 'b';
            i += 2;
        } else if (c != ' ') {
            simple += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return simple;
}

/// Steps of a fifth on the wheel from its first hour: 8B and 1d are C major, 8A and 1m A minor.
std::optional<int> hourOnWheel(std::string_view digits) {
    if (digits.empty() || digits.size() > 2) return std::nullopt;
    int hour = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9') return std::nullopt;
        hour = hour * 10 + (c - '0');
    }
    if (hour < 1 || hour > 12) return std::nullopt;
    return hour;
}

std::int64_t keyOnWheel(std::string_view simple) {
    const auto hour = hourOnWheel(simple.substr(0, simple.size() - 1));
    if (!hour) return unknownMusicalKey;
    const int fifthsInOpenKey = *hour - 1;
    const int fifthsInCamelot = *hour + 4;  // 8 is where Open Key has 1
    switch (simple.back()) {
        case 'd':
            return fifthsInOpenKey * 7 % 12;
        case 'm':
            return 12 + (9 + fifthsInOpenKey * 7) % 12;
        case 'b':
            return fifthsInCamelot * 7 % 12;
        case 'a':
            return 12 + (9 + fifthsInCamelot * 7) % 12;
        default:
            return unknownMusicalKey;
    }
}

std::int64_t keyByNote(std::string_view simple, bool capitalM) {
    constexpr std::string_view notes = "c d ef g a b";
    const auto note = notes.find(simple.front());
    if (note == std::string_view::npos || simple.front() == ' ') return unknownMusicalKey;
    int semitone = static_cast<int>(note);
    simple.remove_prefix(1);
    if (!simple.empty() && (simple.front() == '#' || simple.front() == 'b')) {
        semitone += simple.front() == '#' ? 1 : 11;
        simple.remove_prefix(1);
    }
    semitone %= 12;
    if (simple.empty() || simple == "maj" || simple == "major" || (simple == "m" && capitalM))
        return semitone;
    if (simple == "m" || simple == "min" || simple == "minor") return 12 + semitone;
    return unknownMusicalKey;
}

}  // namespace

std::int64_t musicalKeyIndex(std::string_view text) {
    const std::string simple = simplified(text);
    if (simple.empty()) return unknownMusicalKey;
    if (simple.front() >= '0' && simple.front() <= '9') return keyOnWheel(simple);
    // "CM" is C major, "Cm" C minor.
    return keyByNote(simple, text.back() == 'M');
}

std::string_view musicalKeyName(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(names.size())) return {};
    return names[static_cast<std::size_t>(index)];
}

}  // namespace qsml::app
