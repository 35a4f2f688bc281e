#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "foundation/Object.h"
#include "foundation/Value.h"

namespace qsml {

namespace {

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 64> text{};
    const int size = std::snprintf(text.data(), text.size(), format, arguments...);
    return std::string(text.data(), static_cast<std::size_t>(size));
}

std::string numberDescription(const Value& number) {
    switch (number.kind()) {
        case Value::Kind::real32:
            return formatted("%0.7g", number.realValue());
        case Value::Kind::real64:
            return formatted("%0.16g", number.realValue());
        case Value::Kind::unsignedInteger:
            return std::to_string(number.unsignedValue());
        default:
            return std::to_string(number.integerValue());
    }
}

std::string dateDescription(Date date) {
    std::string text = iso8601({std::round(date.secondsSinceReferenceDate)}).str();
    if (text.empty()) return formatted("%0.16g", date.secondsSinceReferenceDate);
    text.replace(text.find('T'), 1, " ");
    text.replace(text.find('Z'), 1, " +0000");
    return text;
}

std::string dataDescription(const Data& data) {
    std::string text = "{length = " + std::to_string(data.size()) + ", bytes = 0x";
    for (const unsigned byte : data.bytes().first(std::min<std::size_t>(data.size(), 16)))
        text += formatted("%02x", byte);
    return text + (data.size() > 16 ? "...}" : "}");
}

std::string urlDescription(const URL& url) {
    std::string text = url.relativeString().str();
    return url.baseURL() ? text + " -- " + urlDescription(*url.baseURL()) : text;
}

std::string objectDescription(const Object& object) {
    return "<" + std::string(object.archiveClass().name()) +
           formatted(": %p>", static_cast<const void*>(&object));
}

std::string scalarDescription(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::nil:
            return "(null)";
        case Value::Kind::null:
            return "<null>";
        case Value::Kind::string:
            return value.string().str();
        case Value::Kind::date:
            return dateDescription(*value.date());
        case Value::Kind::data:
            return dataDescription(*value.data());
        case Value::Kind::url:
            return urlDescription(*value.url());
        case Value::Kind::uuid:
            return value.uuid()->UUIDString().str();
        case Value::Kind::object:
            return objectDescription(*value.object());
        default:
            return numberDescription(value);
    }
}

/// Inside a collection a text that is not one plain word is quoted, so that its ends are seen.
std::string quotedWhereNeeded(const std::string& text) {
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_';
    };
    if (!text.empty() && std::all_of(text.begin(), text.end(), plain)) return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

void append(std::string& out, const Value& value, std::size_t indent);

void appendElements(std::string& out, const Value& collection, std::size_t indent) {
    const std::string margin(indent, ' ');
    const bool array = collection.kind() == Value::Kind::array;
    out += array ? "(" : "{(";
    const char* separator = "\n";
    for (const auto& element : collection.elements()) {
        out.append(separator).append(margin).append("    ");
        append(out, element, indent + 4);
        separator = ",\n";
    }
    out.append("\n").append(margin).append(array ? ")" : ")}");
}

void appendPairs(std::string& out, const Dictionary& dictionary, std::size_t indent) {
    const std::string margin(indent, ' ');
    out += "{\n";
    for (const auto& [key, value] : dictionary) {
        out.append(margin).append("    ");
        append(out, key, indent + 4);
        out += " = ";
        append(out, value, indent + 4);
        out += ";\n";
    }
    out.append(margin).append("}");
}

void append(std::string& out, const Value& value, std::size_t indent) {
    if (value.isCollection())
        appendElements(out, value, indent);
    else if (value.kind() == Value::Kind::dictionary)
        appendPairs(out, value.dictionary(), indent);
    else if (value.kind() == Value::Kind::string)
        out += quotedWhereNeeded(value.string().str());
    else
        out += scalarDescription(value);
}

}  // namespace

std::string Value::description() const {
    if (!isCollection() && kind() != Kind::dictionary) return scalarDescription(*this);
    std::string out;
    append(out, *this, 0);
    return out;
}

}  // namespace qsml
