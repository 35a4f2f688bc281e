#pragma once
#include "core/Copied.h"

namespace qsml {

/// The UUIDs under a key that is read without a check of its class. What an archive holds there is
/// kept and written back as it was, whatever it is, until the property is set; the property reads
/// as the texts among the elements of a collection, and as nil where something else was found. A
/// UUID that is struck leaves what else was found in its place.
///
/// Playlists, and what holds one, are left out of what was found: a playlist that led back to
/// itself would never be freed. A value.
class QSML_EXPORT UncheckedUUIDs {
public:
    using UUIDs = std::optional<OrderedSet<String>>;

    UncheckedUUIDs() = default;
    UncheckedUUIDs(std::nullopt_t) {}
    UncheckedUUIDs(UUIDs uuids) : uuids_(std::move(uuids)) {}
    UncheckedUUIDs(OrderedSet<String> uuids) : uuids_(std::move(uuids)) {}
    static UncheckedUUIDs decoded(KeyedUnarchiver& coder, std::string_view key);

    operator const UUIDs&() const { return uuids_; }
    UncheckedUUIDs without(const String& uuid) const;
    void encode(KeyedArchiver& coder, std::string_view key) const;

private:
    static UncheckedUUIDs readFrom(Value found);

    UUIDs uuids_;
    Value found_;  // nil where the UUIDs alone say the same
};

template <>
struct Boxing<UncheckedUUIDs> {
    using UUIDs = UncheckedUUIDs::UUIDs;
    static constexpr std::string_view encoding = "@";
    static Value box(const UncheckedUUIDs& uuids, ArchiveForm) {
        return Value(static_cast<const UUIDs&>(uuids));
    }
    static bool unbox(const Value& value, UncheckedUUIDs& into) {
        UUIDs uuids;
        const bool isTaken = Boxing<UUIDs>::unbox(value, uuids);
        into = std::move(uuids);
        return isTaken;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const UncheckedUUIDs& uuids,
                       ArchiveForm) {
        uuids.encode(coder, key);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, UncheckedUUIDs& into,
                       ArchiveForm) {
        into = UncheckedUUIDs::decoded(coder, key);
    }
};
template <>
struct PassedType<UncheckedUUIDs> {
    using type = const UncheckedUUIDs::UUIDs&;
};

}  // namespace qsml
