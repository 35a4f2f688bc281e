#include "foundation/KeyedUnarchiver.h"

#include "foundation/detail/KeyedUnarchiverReader.h"
#include "foundation/detail/classNames.h"

namespace qsml {

using detail::PlatformClass;

KeyedUnarchiver::KeyedUnarchiver() : reader_(std::make_unique<Reader>(*this)) {}
KeyedUnarchiver::~KeyedUnarchiver() = default;

Value KeyedUnarchiver::unarchive(std::span<const std::uint8_t> bytes, Error* error) {
    return reader_->unarchive(bytes, error);
}

void KeyedUnarchiver::setClass(const ArchiveClass& archiveClass, std::string_view forClassName) {
    reader_->setClass(archiveClass, forClassName);
}

void KeyedUnarchiver::setGlobalClass(const ArchiveClass& archiveClass,
                                     std::string_view forClassName) {
    detail::substituteGlobalClass(archiveClass, forClassName);
}

bool KeyedUnarchiver::containsValue(std::string_view key) { return reader_->contains(key); }

std::int64_t KeyedUnarchiver::decodeInt64(std::string_view key) {
    return Reader::integerOf(reader_->number(key));
}

float KeyedUnarchiver::decodeFloat(std::string_view key) {
    return static_cast<float>(Reader::realOf(reader_->number(key)));
}

double KeyedUnarchiver::decodeDouble(std::string_view key) {
    return Reader::realOf(reader_->number(key));
}

bool KeyedUnarchiver::decodeBool(std::string_view key) {
    return Reader::realOf(reader_->number(key)) != 0;
}

String KeyedUnarchiver::decodeString(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    return uid == 0 ? String() : reader_->string(uid, key);
}

std::optional<Date> KeyedUnarchiver::decodeDate(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    return uid == 0 ? std::nullopt : reader_->date(uid, key);
}

std::optional<Data> KeyedUnarchiver::decodeData(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    if (uid == 0) return std::nullopt;
    return reader_->valueOfKind(uid, PlatformClass::data, key).data();
}

std::optional<URL> KeyedUnarchiver::decodeURL(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    if (uid == 0) return std::nullopt;
    return reader_->valueOfKind(uid, PlatformClass::url, key).url();
}

std::optional<OrderedSet<String>> KeyedUnarchiver::decodeStrings(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    return uid == 0 ? std::nullopt : reader_->strings(uid, key);
}

std::shared_ptr<Object> KeyedUnarchiver::decodeObject(std::string_view key,
                                                      const ArchiveClass& archiveClass) {
    const std::uint32_t uid = reader_->reference(key);
    return uid == 0 ? nullptr : reader_->object(uid, archiveClass, key);
}

Value KeyedUnarchiver::decodeValue(std::string_view key) {
    const std::uint32_t uid = reader_->reference(key);
    return uid == 0 ? Value() : reader_->value(uid, key);
}

void KeyedUnarchiver::fail(std::string_view reason) { reader_->fail(reason); }
bool KeyedUnarchiver::hasFailed() const { return reader_->hasFailed(); }

}  // namespace qsml
