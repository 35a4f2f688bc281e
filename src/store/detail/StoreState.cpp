#include "store/detail/StoreState.h"

#include <charconv>

#include "store/detail/checksum.h"

namespace qsml::detail {

namespace {

template <class Number>
bool readNumber(std::string_view& text, Number* number) {
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), *number);
    if (code != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool skipBlank(std::string_view& text) {
    if (text.empty() || text.front() != ' ') return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::string StoreState::text() const {
    const std::string numbers = std::to_string(snapshot) + " " + std::to_string(lastRowNumber);
    return numbers + " " + std::to_string(textChecksum(numbers));
}

std::optional<StoreState> StoreState::fromText(std::string_view text) {
    StoreState state;
    std::uint64_t checksum = 0;
    std::string_view rest = text;
    if (!readNumber(rest, &state.snapshot) || !skipBlank(rest) ||
        !readNumber(rest, &state.lastRowNumber))
        return std::nullopt;
    const std::string_view numbers = text.substr(0, text.size() - rest.size());
    if (!skipBlank(rest) || !readNumber(rest, &checksum) || !rest.empty() ||
        checksum != textChecksum(numbers))
        return std::nullopt;
    return state;
}

}  // namespace qsml::detail
