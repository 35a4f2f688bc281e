#include "cloudkit/CKRecord.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace qsml {
namespace {

bool isStorableElement(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::boolean:
        case Value::Kind::integer:
        case Value::Kind::unsignedInteger:
        case Value::Kind::real32:
        case Value::Kind::real64:
        case Value::Kind::string:
        case Value::Kind::date:
        case Value::Kind::data:
            return true;
        default:
            return false;
    }
}

// In Unix time, whose milliseconds are what travels.
Date inWholeMilliseconds(Date date) {
    const double unixMilliseconds =
        std::round((date.secondsSinceReferenceDate + Date::unixTimeOfReferenceDate) * 1000.0);
    const double seconds = unixMilliseconds / 1000.0 - Date::unixTimeOfReferenceDate;
    return std::isfinite(seconds) ? Date{seconds} : date;
}

}  // namespace

CKRecord::CKRecord(String recordType, CKRecordID recordID)
    : recordType_(std::move(recordType)), recordID_(std::move(recordID)) {
    if (recordType_.empty()) throw std::invalid_argument("CKRecord: the record type is empty");
    if (recordID_.recordName.empty())
        throw std::invalid_argument("CKRecord: the record name is empty");
}

std::vector<String> CKRecord::allKeys() const {
    std::vector<String> keys;
    keys.reserve(values_.size());
    for (const auto& [key, value] : values_) keys.push_back(key);
    return keys;
}

const Value& CKRecord::operator[](std::string_view key) const {
    static const Value nil;
    const auto found = values_.find(key);
    return found == values_.end() ? nil : found->second;
}

void CKRecord::setValue(std::string_view key, const Value& value) {
    if (!canStore(value))
        throw std::invalid_argument("CKRecord: the value of key \"" + std::string(key) +
                                    "\" is of a kind that cannot be stored");
    String text(key);
    if (value.isNil())
        values_.erase(text);
    else
        values_.insert_or_assign(text, asStored(value));
    changed_.insert(std::move(text));
}

std::vector<String> CKRecord::changedKeys() const { return {changed_.begin(), changed_.end()}; }

bool CKRecord::canStore(const Value& value) {
    if (value.isNil()) return true;
    if (value.kind() != Value::Kind::array) return isStorableElement(value);
    for (const Value& element : value.elements())
        if (!isStorableElement(element)) return false;
    return true;
}

Value CKRecord::asStored(const Value& value) {
    if (value.kind() == Value::Kind::date) return inWholeMilliseconds(*value.date());
    if (value.kind() == Value::Kind::unsignedInteger &&
        value.unsignedValue() >
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::numeric_limits<std::int64_t>::max();
    if (value.kind() != Value::Kind::array) return value;
    Value::Array elements;
    elements.reserve(value.elements().size());
    for (const Value& element : value.elements()) elements.push_back(asStored(element));
    return Value(std::move(elements));
}

}  // namespace qsml
