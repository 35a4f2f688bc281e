#pragma once
#include <random>
#include <string>
#include <vector>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/archiveDescription.h"
#include "testing/testScale.h"

namespace qsml {

/// The archive of a record as the store keeps it.
inline std::vector<std::uint8_t> archiveOf(const Object& record) {
    KeyedArchiver archiver;
    const auto bytes = archiver.archive(record);
    return {bytes.begin(), bytes.end()};
}

/// The object of an archive when it is a Record; null otherwise, damage included.
template <class Record>
std::shared_ptr<Record> recordFrom(const std::vector<std::uint8_t>& archive) {
    (void)Record::classObject();
    KeyedUnarchiver unarchiver;
    const Value root = unarchiver.unarchive(archive);
    if (root.kind() != Value::Kind::object) return nullptr;
    return std::dynamic_pointer_cast<Record>(std::const_pointer_cast<Object>(root.object()));
}

/// The keys of the archive's root object in stored order, "$class" left out.
inline std::vector<std::string> archivedKeys(const Object& record) {
    const std::string text = archiveDescription(archiveOf(record));
    std::vector<std::string> keys;
    int depth = 0;
    bool seen = false;
    // objects[1] is the root: the second element at depth one of the "objects" array.
    std::size_t at = text.find("\"objects\":[\"$null\",{");
    if (at == std::string::npos) return keys;
    at += std::string("\"objects\":[\"$null\",").size();
    for (bool expectsKey = true; at < text.size() && !(seen && depth == 0); ++at) {
        const char c = text[at];
        if (c == '{' || c == '[') {
            ++depth;
            seen = true;
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == ',' && depth == 1) {
            expectsKey = true;
        } else if (c == '"') {
            std::size_t end = at + 1;
            while (text[end] != '"') end += text[end] == '\\' ? 2U : 1U;
            if (depth == 1 && expectsKey) keys.push_back(text.substr(at + 1, end - at - 1));
            expectsKey = false;
            at = end;
        }
    }
    std::erase(keys, "$class");
    return keys;
}

/// Reads an archive however damaged: the outcome is nil or an object whose every property can be
/// read and which can be archived or refused again. True for an object.
template <class Record>
bool survivesReading(KeyedUnarchiver& unarchiver, const std::vector<std::uint8_t>& archive) {
    const Value root = unarchiver.unarchive(archive);
    if (root.kind() != Value::Kind::object) return false;
    const auto* record = dynamic_cast<const Record*>(root.object().get());
    if (!record) return false;
    if constexpr (requires { record->recordClass(); })
        for (const String& name : record->monitoredProperties())
            (void)record->valueForKey(name).hash();
    (void)record->hash();
    KeyedArchiver archiver;
    (void)archiver.archive(*record);
    return true;
}

/// Every single bit of the archive flipped, then several bytes at a time changed at random.
template <class Record>
void readDamagedArchives(const Record& canonical) {
    (void)Record::classObject();
    const std::vector<std::uint8_t> whole = archiveOf(canonical);
    KeyedUnarchiver unarchiver;
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
        auto damaged = whole;
        damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ (1U << (bit % 8)));
        (void)survivesReading<Record>(unarchiver, damaged);
    }
    std::mt19937 random(20010101);
    for (std::size_t round = testScale(5'000, 100'000); round > 0; --round) {
        auto damaged = whole;
        for (std::size_t changes = 2 + random() % 7; changes > 0; --changes)
            damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
        if (random() % 8 == 0) damaged.resize(random() % damaged.size());
        (void)survivesReading<Record>(unarchiver, damaged);
    }
}

}  // namespace qsml
