#include "output.h"

#include <QSMediaLibraryData/foundation/JSON.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdio>

#include "CommandFailure.h"
#include "printable.h"

namespace qsml::app {

namespace {

std::string hexadecimal(const Data& data) {
    std::string text;
    for (const std::uint8_t byte : data.bytes()) text += fmt::format("{:02x}", byte);
    return text;
}

String writable(const String& text) { return isValidUTF8(text) ? text : String(printable(text)); }

Value writable(const Value& value);

Value writable(const Dictionary& dictionary) {
    Dictionary members;
    for (const auto& [key, value] : dictionary) {
        const Value member = writable(value);
        if (member.kind() != Value::Kind::null) members.set(writable(key.string()), member);
    }
    return Value(members);
}

/// The value in a form that JSON has; Null where there is none.
Value writable(const Value& value) {
    using Kind = Value::Kind;
    switch (value.kind()) {
        case Kind::boolean:
        case Kind::integer:
        case Kind::unsignedInteger:
            return value;
        case Kind::real32:
        case Kind::real64:
            return std::isfinite(value.realValue()) ? value : Value(Null());
        case Kind::string:
            return Value(writable(value.string()));
        case Kind::date: {
            const String text = iso8601(*value.date());
            return text ? Value(text) : Value(Null());
        }
        case Kind::data:
            return Value(hexadecimal(*value.data()));
        case Kind::url:
            return Value(writable(value.url()->absoluteString()));
        case Kind::uuid:
            return Value(value.uuid()->UUIDString());
        case Kind::dictionary:
            return writable(value.dictionary());
        case Kind::array:
        case Kind::set:
        case Kind::orderedSet: {
            Value::Array elements;
            for (const Value& element : value.elements()) elements.push_back(writable(element));
            return Value(std::move(elements));
        }
        default:
            return Value(Null());
    }
}

}  // namespace

std::string printableJSON(const Value& value) { return jsonText(writable(value)).str(); }

void put(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void putLine(std::string_view line) {
    put(line);
    put("\n");
}

void putJSON(const Dictionary& object) { putLine(printableJSON(object)); }

void flushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        throw CommandFailure("cannot write to standard output; is its disk full?");
}

void complain(std::string_view line) {
    const std::string text = "qsml: " + printable(line) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

std::string grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, ",");
    }
    return digits;
}

std::string playingTime(double seconds) {
    if (!(seconds >= 0)) return {};  // NaN too
    constexpr double longest = 1e12;
    const auto whole = static_cast<std::uint64_t>(std::llround(std::min(seconds, longest)));
    const auto hours = whole / 3600, minutes = whole / 60 % 60, rest = whole % 60;
    return hours ? fmt::format("{}:{:02}:{:02}", hours, minutes, rest)
                 : fmt::format("{}:{:02}", minutes, rest);
}

std::string markTime(float seconds) {
    const double time = static_cast<double>(seconds);
    constexpr double longest = 1e12;
    if (!(std::fabs(time) <= longest)) return fmt::format("{} s", seconds);  // NaN too
    const auto thousandths = static_cast<std::uint64_t>(std::llround(std::fabs(time) * 1000));
    return fmt::format("{}{}:{:02}.{:03}", time < 0 ? "-" : "", thousandths / 60000,
                       thousandths / 1000 % 60, thousandths % 1000);
}

}  // namespace qsml::app
