#include <bit>

#include "cloudkit/CKRecord.h"

namespace qsml {
namespace {

// Version, then texts and dates in a fixed order. A text is its length in four bytes, lowest first,
// and its bytes; a date is a byte that says whether there is one, and eight bytes of its 64-bit
// real.
constexpr std::uint8_t formatVersion = 1;
constexpr std::uint32_t nilLength = 0xFFFFFFFF;

template <class Number>
void appendNumber(std::vector<std::uint8_t>& out, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        out.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

void append(std::vector<std::uint8_t>& out, const String& text) {
    appendNumber(out, text ? static_cast<std::uint32_t>(text.size()) : nilLength);
    for (const char c : *text) out.push_back(static_cast<std::uint8_t>(c));
}

void append(std::vector<std::uint8_t>& out, const std::optional<Date>& date) {
    out.push_back(date ? 1 : 0);
    if (date) appendNumber(out, std::bit_cast<std::uint64_t>(date->secondsSinceReferenceDate));
}

class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    template <class Number>
    Number number() {
        Number value = 0;
        const auto bytes = take(sizeof(Number));
        for (std::size_t i = 0; i < bytes.size(); ++i)
            value = static_cast<Number>(value | (static_cast<Number>(bytes[i]) << (8 * i)));
        return value;
    }
    String text() {
        const auto length = number<std::uint32_t>();
        if (damaged_ || length == nilLength) return nullptr;
        const auto bytes = take(length);
        return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    std::optional<Date> date() {
        if (number<std::uint8_t>() == 0) return std::nullopt;
        return Date{std::bit_cast<double>(number<std::uint64_t>())};
    }
    bool isAtEnd() const { return !damaged_ && rest_.empty(); }

private:
    // Empty, and everything after it, once the bytes do not suffice.
    std::span<const std::uint8_t> take(std::size_t count) {
        damaged_ = damaged_ || count > rest_.size();
        if (damaged_) return {};
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }
    std::span<const std::uint8_t> rest_;
    bool damaged_ = false;
};

}  // namespace

std::vector<std::uint8_t> CKRecord::encodeSystemFields() const {
    std::vector<std::uint8_t> out{formatVersion};
    for (const String* text : {&recordType_, &recordID_.recordName, &recordID_.zoneID.zoneName,
                               &recordID_.zoneID.ownerName, &system_.recordChangeTag,
                               &system_.creatorUserRecordName, &system_.lastModifiedUserRecordName})
        append(out, *text);
    append(out, system_.creationDate);
    append(out, system_.modificationDate);
    return out;
}

std::optional<CKRecord> CKRecord::recordWithSystemFields(std::span<const std::uint8_t> bytes) {
    Reader reader(bytes);
    if (reader.number<std::uint8_t>() != formatVersion) return std::nullopt;
    const String type = reader.text();
    const String name = reader.text();
    const String zone = reader.text();
    const String owner = reader.text();
    SystemFields fields;
    fields.recordChangeTag = reader.text();
    fields.creatorUserRecordName = reader.text();
    fields.lastModifiedUserRecordName = reader.text();
    fields.creationDate = reader.date();
    fields.modificationDate = reader.date();
    if (!reader.isAtEnd() || type.empty() || name.empty()) return std::nullopt;
    CKRecord record(type, {name, {zone, owner}});
    record.setSystemFields(std::move(fields));
    return record;
}

}  // namespace qsml
