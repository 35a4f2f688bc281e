#include "tracks/PLXMediaItemTitleID.h"

#include "foundation/JSON.h"
#include "foundation/text.h"

namespace qsml {
namespace {

std::string normalised(const String& text) {
    return lowercased(trimmingWhitespaceAndNewlines(text.value_or(""))).str();
}

}  // namespace

QSML_DEFINE_RECORD(PLXMediaItemTitleID)

std::shared_ptr<PLXMediaItemTitleID> PLXMediaItemTitleID::titleIDWithTitle(String title,
                                                                           String artist,
                                                                           float duration,
                                                                           String isrc) {
    return initWithTitle(std::move(title), std::move(artist), duration, std::move(isrc));
}

std::shared_ptr<PLXMediaItemTitleID> PLXMediaItemTitleID::initWithTitle(String title, String artist,
                                                                        float duration,
                                                                        String isrc) {
    auto made = initWithUUID(String());
    made->setTitle(std::move(title));
    made->setArtist(std::move(artist));
    made->setDuration(duration);
    made->setIsrc(std::move(isrc));
    made->setUuid(made->hashRepresentation());
    return made;
}

std::shared_ptr<PLXMediaItemTitleID> PLXMediaItemTitleID::initWithStringRepresentation(
    String text) {
    auto made = initWithUUID(String());
    made->stringRepresentation_ = std::move(text);
    made->setUuid(made->hashRepresentation());
    return made;
}

std::shared_ptr<PLXMediaItemTitleID> PLXMediaItemTitleID::initWithJSONObject(
    const Dictionary& json) {
    const auto text = [&](const char* key) { return chuzzle(json[key].string()); };
    auto made = initWithUUID(text("uuid"));
    made->setTitle(text("title"));
    made->setArtist(text("artist"));
    made->setDuration(floatOfJSONEntry(json["duration"]));
    made->setInternalID(text("internalID"));
    made->setIsrc(text("isrc"));
    if (!made->uuid()) made->setUuid(made->hashRepresentation());
    return made;
}

void PLXMediaItemTitleID::setInternalID(String value) {
    assign("internalID", internalID_, std::move(value));
}

String PLXMediaItemTitleID::internalID() const { return internalID_ ? internalID_ : uuid(); }

String PLXMediaItemTitleID::internalID() {
    String read = std::as_const(*this).internalID();
    if (!isImmutable()) internalID_ = read;
    return read;
}

String PLXMediaItemTitleID::stringRepresentation() const {
    if (stringRepresentation_) return stringRepresentation_;
    return normalised(title()) + "\t" + normalised(artist()) + "\t" +
           std::to_string(roundedHalfAwayFromZero(duration()));
}

String PLXMediaItemTitleID::stringRepresentation() {
    String read = std::as_const(*this).stringRepresentation();
    if (!isImmutable()) stringRepresentation_ = read;
    return read;
}

String PLXMediaItemTitleID::hashRepresentation() const {
    return hashRepresentation_ ? hashRepresentation_ : md5Hash(stringRepresentation());
}

String PLXMediaItemTitleID::hashRepresentation() {
    if (!hashRepresentation_ && !isImmutable())
        hashRepresentation_ = md5Hash(stringRepresentation());
    return std::as_const(*this).hashRepresentation();
}

bool PLXMediaItemTitleID::isLegacyTitleID() const {
    return title().empty() && artist().empty() && duration() == 0.0F;
}

bool PLXMediaItemTitleID::isEqualToMediaItemTitleID(const PLXMediaItemTitleID* other) const {
    if (other == this) return true;
    if (!other) return false;
    const String mine = internalID();
    return mine && mine == other->internalID();
}

bool PLXMediaItemTitleID::isEqual(const Object& other) const {
    if (!other.archiveClass().isSubclassOf(classObject())) return false;
    return isEqualToMediaItemTitleID(static_cast<const PLXMediaItemTitleID*>(&other));
}

std::uint64_t PLXMediaItemTitleID::computedHash() const {
    const auto hashOf = [](const String& text) { return text ? std::hash<String>()(text) : 0; };
    return hashOf(title()) ^ hashOf(artist()) ^
           static_cast<std::uint64_t>(roundedHalfAwayFromZero(duration())) ^
           std::hash<std::string_view>()(recordClass().name());
}

std::size_t PLXMediaItemTitleID::hash() const {
    std::uint64_t known = hash_.value.load(std::memory_order_relaxed);
    if (known == 0) {
        known = computedHash();
        hash_.value.store(known, std::memory_order_relaxed);
    }
    return known;
}

std::optional<Dictionary> PLXMediaItemTitleID::JSONObjectRepresentation() const {
    if (!uuid()) return std::nullopt;
    Dictionary json{{"uuid", uuid()}, {"duration", duration()}};
    json.set("title", title());
    json.set("artist", artist());
    json.set("isrc", isrc());
    if (const String id = internalID(); id != uuid()) json.set("internalID", id);
    return json;
}

// The internal ID is archived as it reads, and the text only once it has been derived.
void PLXMediaItemTitleID::encodeWithCoder(KeyedArchiver& coder) const {
    PLXCloudDatabaseObject::encodeWithCoder(coder);
    coder.encodeString("internalID", internalID());
    coder.encodeString("stringRepresentation", stringRepresentation_);
}

bool PLXMediaItemTitleID::initWithCoder(KeyedUnarchiver& coder) {
    if (!PLXCloudDatabaseObject::initWithCoder(coder)) return false;
    internalID_ = coder.decodeString("internalID");
    stringRepresentation_ = coder.decodeString("stringRepresentation");
    return true;
}

}  // namespace qsml
