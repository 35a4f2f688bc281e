#include "foundation/JSON.h"

#include <fmt/format.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <concepts>
#include <limits>

#include "foundation/text.h"

namespace qsml {
namespace {

constexpr int deepest = 512;

/// The power of ten of the first digit that counts, of digits that are a number; saturates.
std::int64_t magnitudeOf(std::string_view digits) {
    const std::size_t exponentMark = digits.find_first_of("eE");
    const std::string_view mantissa = digits.substr(0, exponentMark);
    const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto first =
        static_cast<std::int64_t>(std::min(mantissa.find_first_of("123456789"), mantissa.size()));
    std::int64_t exponent = 0;
    if (exponentMark != digits.npos) {
        std::string_view text = digits.substr(exponentMark + 1);
        if (text.starts_with('+')) text.remove_prefix(1);
        const auto read = std::from_chars(text.data(), text.data() + text.size(), exponent);
        constexpr std::int64_t beyondEverything = std::int64_t{1} << 40;
        if (read.ec == std::errc::result_out_of_range)
            exponent = text.starts_with('-') ? -beyondEverything : beyondEverything;
    }
    return point - first + exponent;
}

struct Real {
    double value = 0;
    bool isTooLarge = false;  ///< the value is the largest of its sign
};

/// The longest prefix as a number; 0 when there is none.
Real realOf(std::string_view text) {
    Real real;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), real.value);
    if (read.ec != std::errc::result_out_of_range) return real;
    text = text.substr(0, static_cast<std::size_t>(read.ptr - text.data()));
    real.isTooLarge = magnitudeOf(text) > 0;
    const double magnitude = real.isTooLarge ? std::numeric_limits<double>::max() : 0;
    real.value = text.starts_with('-') ? -magnitude : magnitude;
    return real;
}

std::int64_t integerOf(std::string_view text) {
    std::int64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc::result_out_of_range) return number;
    using Limits = std::numeric_limits<std::int64_t>;
    return text.starts_with('-') ? Limits::min() : Limits::max();
}

/// Every function answers whether the value could be written.
class JSONWriter {
public:
    String text(const Value& value) {
        if (!write(value, 0)) return {};
        return std::string_view(buffer_.GetString(), buffer_.GetSize());
    }

private:
    bool write(const Value& value, int depth) {
        using Kind = Value::Kind;
        if (depth == deepest && (value.isCollection() || value.kind() == Kind::dictionary))
            return false;
        switch (value.kind()) {
            case Kind::null:
                return writer_.Null();
            case Kind::boolean:
                return writer_.Bool(value.boolValue());
            case Kind::integer:
                return writer_.Int64(value.integerValue());
            case Kind::unsignedInteger:
                return writer_.Uint64(value.unsignedValue());
            case Kind::real32:
                return real(value.floatValue());
            case Kind::real64:
                return real(value.realValue());
            case Kind::string:
                return string(value.string());
            case Kind::array:
                return array(value.elements(), depth);
            case Kind::dictionary:
                return object(value.dictionary(), depth);
            default:
                return false;
        }
    }

    template <class Real>
    bool real(Real number) {
        if (!std::isfinite(number)) return false;
        std::string digits = fmt::format("{}", number);
        // Readers make 64 bits of it first. Rounding twice misses one 32-bit number, 7.038531e-26.
        if constexpr (std::same_as<Real, float>)
            if (Value(realOf(digits).value).floatValue() != number)
                digits = fmt::format("{:.9g}", number);
        return writer_.RawValue(digits.data(), digits.size(), rapidjson::kNumberType);
    }

    bool string(std::string_view text) {
        return isValidUTF8(text) && writer_.String(text.data() ? text.data() : "",
                                                   static_cast<rapidjson::SizeType>(text.size()));
    }

    bool array(const Value::Array& elements, int depth) {
        writer_.StartArray();
        for (const Value& element : elements)
            if (!write(element, depth + 1)) return false;
        return writer_.EndArray();
    }

    bool object(const Dictionary& dictionary, int depth) {
        writer_.StartObject();
        for (const auto& [key, value] : dictionary) {
            if (key.kind() != Value::Kind::string || !string(key.string())) return false;
            if (!write(value, depth + 1)) return false;
        }
        return writer_.EndObject();
    }

    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

/// Collects what the parser reports. The containers that are open wait on a list of their own, so
/// nothing here recurses.
class ValueBuilder {
public:
    using Size = rapidjson::SizeType;
    Value take() { return std::move(root_); }
    /// Why it stopped the parser.
    const char* refusal() const { return refusal_; }

    bool Null() { return add(Value(qsml::Null())); }
    bool Bool(bool value) { return add(Value(value)); }
    bool RawNumber(const char* digits, Size length, bool) {
        const Value number = numberOf({digits, length});
        return number.isNil() ? refuse("a number is too large") : add(number);
    }
    bool String(const char* text, Size length, bool) {
        return isText({text, length}) && add(Value(std::string_view(text, length)));
    }
    bool Key(const char* text, Size length, bool) {
        open_.back().key = std::string_view(text, length);
        return isText({text, length});
    }
    bool StartObject() { return start(true); }
    bool StartArray() { return start(false); }
    bool EndObject(Size) {
        Dictionary members = std::move(open_.back().members);
        open_.pop_back();
        return add(Value(members));
    }
    bool EndArray(Size) {
        Value::Array elements = std::move(open_.back().elements);
        open_.pop_back();
        return add(Value(std::move(elements)));
    }
    // Never called: numbers are asked for as texts.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

private:
    struct Container {
        bool isObject = false;
        qsml::String key = {};
        Dictionary members = {};
        Value::Array elements = {};
    };

    bool refuse(const char* reason) {
        refusal_ = reason;
        return false;
    }

    /// The parser lets through an escaped low surrogate that stands alone.
    bool isText(std::string_view text) {
        return isValidUTF8(text) || refuse("a surrogate stands alone");
    }

    bool start(bool isObject) {
        if (open_.size() >= deepest) return refuse("it nests too deeply");
        open_.push_back({isObject});
        return true;
    }

    bool add(Value value) {
        if (open_.empty()) {
            root_ = std::move(value);
        } else if (Container& container = open_.back(); container.isObject) {
            container.members.set(container.key, std::move(value));
        } else {
            container.elements.push_back(std::move(value));
        }
        return true;
    }

    template <class Whole>
    static bool readWhole(std::string_view digits, Value& into) {
        Whole number = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (read.ec != std::errc() || read.ptr != digits.data() + digits.size()) return false;
        into = Value(number);
        return true;
    }

    /// Nil when it is too large.
    static Value numberOf(std::string_view digits) {
        Value whole;
        const bool isNegativeZero = digits == "-0";  // only a real can hold it
        if (!isNegativeZero && readWhole<std::int64_t>(digits, whole)) return whole;
        if (!isNegativeZero && readWhole<std::uint64_t>(digits, whole)) return whole;
        const Real real = realOf(digits);
        return real.isTooLarge ? Value() : Value(real.value);
    }

    Value root_;
    std::vector<Container> open_;
    const char* refusal_ = nullptr;
};

/// The text from its number on, without a plus sign; empty when it does not begin with a number.
std::string_view numericPart(std::string_view text) {
    text = trimmingWhitespaceAndNewlines(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    const std::size_t digits = text.starts_with('-') ? 1 : 0;
    return text.find_first_of("0123456789.", digits) == digits ? text : std::string_view();
}

}  // namespace

String jsonText(const Value& value) { return JSONWriter().text(value); }

Value valueOfJSONText(std::string_view text, Error* error) {
    constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                               rapidjson::kParseNumbersAsStringsFlag |
                               rapidjson::kParseValidateEncodingFlag;
    rapidjson::MemoryStream bytes(text.data() ? text.data() : "", text.size());
    rapidjson::Reader reader;
    ValueBuilder builder;
    // The parser takes a zero byte for the end of the text.
    if (reader.Parse<flags>(bytes, builder) && bytes.Tell() == text.size()) return builder.take();
    const auto code = reader.GetParseErrorCode();
    const char* cause = code == rapidjson::kParseErrorTermination ? builder.refusal()
                        : code == rapidjson::kParseErrorNone      ? "a zero byte"
                                                             : rapidjson::GetParseError_En(code);
    const std::size_t place =
        code == rapidjson::kParseErrorNone ? bytes.Tell() : reader.GetErrorOffset();
    report(error,
           {"JSONErrorDomain", code + 1, fmt::format("no JSON text at byte {}: {}", place, cause)});
    return {};
}

float floatOfJSONEntry(const Value& entry) {
    if (entry.kind() == Value::Kind::string)
        return Value(realOf(numericPart(entry.string())).value).floatValue();
    return entry.floatValue();
}

std::int64_t integerOfJSONEntry(const Value& entry) {
    if (entry.kind() == Value::Kind::string) return integerOf(numericPart(entry.string()));
    return entry.integerValue();
}

}  // namespace qsml
