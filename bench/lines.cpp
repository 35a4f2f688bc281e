#include "lines.h"

#include <cstdlib>

namespace qsml::bench {

Fields split(std::string_view text, char separator) {
    Fields fields;
    if (text.empty()) return fields;
    for (std::size_t start = 0;;) {
        const auto end = text.find(separator, start);
        fields.push_back(text.substr(start, end == text.npos ? text.npos : end - start));
        if (end == text.npos) return fields;
        start = end + 1;
    }
}

String text(std::string_view field) { return field.empty() ? String() : String(field); }

double real(std::string_view field) { return std::strtod(std::string(field).c_str(), nullptr); }

std::int64_t integer(std::string_view field) {
    return std::strtoll(std::string(field).c_str(), nullptr, 10);
}

std::optional<Date> date(std::string_view field) {
    if (field.empty()) return std::nullopt;
    return Date{real(field)};
}

String Keys::operator()(std::string_view key) {
    if (key.empty()) return {};
    return known_.try_emplace(std::string(key), key).first->second;
}

std::optional<OrderedSet<String>> Keys::list(std::string_view field) {
    if (field.empty()) return std::nullopt;
    std::vector<String> keys;
    for (const auto key : split(field, ',')) keys.push_back((*this)(key));
    return OrderedSet<String>(std::move(keys));
}

}  // namespace qsml::bench
