#include "core/PLXDatabaseObject.h"
#include "database/PLXDatabaseManager.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/Log.h"

namespace qsml {

namespace {

/// The record in a value, as its owner may freeze it. The store hands values on as constant
/// objects; a record's bookkeeping (frozen, changed keys) is not part of what it stands for.
PLXDatabaseObject* recordIn(const Value& object) {
    return const_cast<PLXDatabaseObject*>(
        dynamic_cast<const PLXDatabaseObject*>(object.object().get()));
}

}  // namespace

const PLXDatabaseManager::Serializer& PLXDatabaseManager::databaseSerializer() {
    static const Serializer serializer = [](std::string_view, std::string_view, const Value& object,
                                            Error* error) {
        thread_local KeyedArchiver archiver;
        return archiver.archive(object, error);
    };
    return serializer;
}

const PLXDatabaseManager::Deserializer& PLXDatabaseManager::databaseDeserializer() {
    static const Deserializer deserializer = [](std::string_view collection, std::string_view key,
                                                std::span<const std::uint8_t> bytes) {
        thread_local KeyedUnarchiver unarchiver;
        Error error;
        Value object = unarchiver.unarchive(bytes, &error);
        if (error) {
            log("Warning: unknown database object collection \"" + std::string(collection) +
                "\" (" + std::string(key) + "): " + error.description);
            return Value();
        }
        if (auto* record = recordIn(object)) record->makeImmutable();
        return object;
    };
    return deserializer;
}

const PLXDatabaseManager::PreSanitizer& PLXDatabaseManager::databasePreSanitizer() {
    static const PreSanitizer sanitizer = [](std::string_view, std::string_view, Value object) {
        if (auto* record = recordIn(object)) record->makeImmutable();
        return object;
    };
    return sanitizer;
}

const PLXDatabaseManager::PostSanitizer& PLXDatabaseManager::databasePostSanitizer() {
    static const PostSanitizer sanitizer = [](std::string_view, std::string_view,
                                              const Value& object) {
        if (auto* record = recordIn(object)) record->clearChangedProperties();
    };
    return sanitizer;
}

}  // namespace qsml
