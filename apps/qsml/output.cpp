#include "output.h"

#include <QSMediaLibraryData/foundation/text.h>
#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstdio>

#include "CommandFailure.h"
#include "printable.h"

namespace qsml::app {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText(Writer& writer, std::string_view text) {
    if (!isValidUTF8(text)) return writeText(writer, printable(text));
    writer.String(text.data() ? text.data() : "", static_cast<rapidjson::SizeType>(text.size()));
}

void writeRaw(Writer& writer, const std::string& number) {
    writer.RawValue(number.data(), number.size(), rapidjson::kNumberType);
}

std::string hexadecimal(const Data& data) {
    std::string text;
    for (const std::uint8_t byte : data.bytes()) text += fmt::format("{:02x}", byte);
    return text;
}

/// What JSON has no form for, and so is left out.
bool isAbsent(const Value& value) {
    const bool isReal = value.kind() == Value::Kind::real32 || value.kind() == Value::Kind::real64;
    return value.isNil() || (isReal && !std::isfinite(value.realValue())) ||
           (value.kind() == Value::Kind::date && !iso8601(*value.date()));
}

void write(Writer& writer, const Value& value);

void writeDictionary(Writer& writer, const Dictionary& dictionary) {
    writer.StartObject();
    for (const auto& [key, value] : dictionary) {
        if (isAbsent(value)) continue;
        writeText(writer, key.string());
        write(writer, value);
    }
    writer.EndObject();
}

void writeElements(Writer& writer, const Value& value) {
    writer.StartArray();
    for (const Value& element : value.elements()) write(writer, element);
    writer.EndArray();
}

void write(Writer& writer, const Value& value) {
    using Kind = Value::Kind;
    if (isAbsent(value)) {
        writer.Null();
        return;
    }
    switch (value.kind()) {
        case Kind::boolean:
            writer.Bool(value.boolValue());
            break;
        case Kind::integer:
            writer.Int64(value.integerValue());
            break;
        case Kind::unsignedInteger:
            writer.Uint64(value.unsignedValue());
            break;
        case Kind::real32:
            writeRaw(writer, fmt::format("{}", value.floatValue()));
            break;
        case Kind::real64:
            writeRaw(writer, fmt::format("{}", value.realValue()));
            break;
        case Kind::string:
            writeText(writer, value.string());
            break;
        case Kind::date:
            writeText(writer, iso8601(*value.date()));
            break;
        case Kind::data:
            writeText(writer, hexadecimal(*value.data()));
            break;
        case Kind::url:
            writeText(writer, value.url()->absoluteString());
            break;
        case Kind::uuid:
            writeText(writer, value.uuid()->UUIDString());
            break;
        case Kind::dictionary:
            writeDictionary(writer, value.dictionary());
            break;
        case Kind::array:
        case Kind::set:
        case Kind::orderedSet:
            writeElements(writer, value);
            break;
        default:
            writer.Null();
    }
}

}  // namespace

std::string jsonText(const Value& value) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    write(writer, value);
    return {buffer.GetString(), buffer.GetSize()};
}

void put(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void putLine(std::string_view line) {
    put(line);
    put("\n");
}

void putJSON(const Dictionary& object) { putLine(jsonText(object)); }

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
    const auto whole = static_cast<std::uint64_t>(std::llround(std::max(seconds, 0.0)));
    const auto hours = whole / 3600, minutes = whole / 60 % 60, rest = whole % 60;
    return hours ? fmt::format("{}:{:02}:{:02}", hours, minutes, rest)
                 : fmt::format("{}:{:02}", minutes, rest);
}

}  // namespace qsml::app
