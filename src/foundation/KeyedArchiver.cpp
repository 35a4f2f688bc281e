#include "foundation/KeyedArchiver.h"

#include "foundation/detail/KeyedArchiverWriter.h"

namespace qsml {

using detail::PlatformClass;

KeyedArchiver::KeyedArchiver() : writer_(std::make_unique<Writer>(*this)) {}
KeyedArchiver::~KeyedArchiver() = default;

std::span<const std::uint8_t> KeyedArchiver::archive(const Object& root, Error* error) {
    return writer_->archive(root, error);
}

std::span<const std::uint8_t> KeyedArchiver::archive(const Value& root, Error* error) {
    return writer_->archive(root, error);
}

void KeyedArchiver::setClassName(std::string_view name, const ArchiveClass& forClass) {
    writer_->setClassName(name, forClass);
}

void KeyedArchiver::encodeInt64(std::string_view key, std::int64_t value) {
    if (!writer_->hasFailed()) writer_->add(key, writer_->integer(value));
}

void KeyedArchiver::encodeFloat(std::string_view key, float value) {
    if (!writer_->hasFailed()) writer_->add(key, writer_->real(value));
}

void KeyedArchiver::encodeDouble(std::string_view key, double value) {
    if (!writer_->hasFailed()) writer_->add(key, writer_->real(value));
}

void KeyedArchiver::encodeBool(std::string_view key, bool value) {
    if (!writer_->hasFailed()) writer_->add(key, writer_->boolean(value));
}

void KeyedArchiver::encodeString(std::string_view key, const String& value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(value, key) : writer_->nil());
}

void KeyedArchiver::encodeDate(std::string_view key, const std::optional<Date>& value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(*value, key) : writer_->nil());
}

void KeyedArchiver::encodeData(std::string_view key, const std::optional<Data>& value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(*value, key) : writer_->nil());
}

void KeyedArchiver::encodeURL(std::string_view key, const std::optional<URL>& value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(*value, key) : writer_->nil());
}

void KeyedArchiver::encodeObject(std::string_view key, const Object* value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(*value, key) : writer_->nil());
}

void KeyedArchiver::encodeOrderedSet(std::string_view key,
                                     const std::optional<OrderedSet<String>>& value) {
    if (writer_->hasFailed()) return;
    writer_->add(
        key, value ? writer_->reference(*value, PlatformClass::orderedSet, key) : writer_->nil());
}

void KeyedArchiver::encodeSet(std::string_view key,
                              const std::optional<OrderedSet<String>>& value) {
    if (writer_->hasFailed()) return;
    writer_->add(key, value ? writer_->reference(*value, PlatformClass::set, key) : writer_->nil());
}

void KeyedArchiver::encodeValue(std::string_view key, const Value& value) {
    if (!writer_->hasFailed()) writer_->add(key, writer_->reference(value, key));
}

}  // namespace qsml
