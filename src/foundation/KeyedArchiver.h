#pragma once
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/Error.h"
#include "foundation/Object.h"
#include "foundation/Value.h"

namespace qsml {

/// Writes object graphs as keyed archives: binary property lists in the layout of
/// docs/file-format.md.
///
/// One archiver encodes many roots, one after the other, and reuses its buffers: keep one per
/// connection. O(size of the graph). An object or shared text met a second time is written as a
/// second reference. Confined to one thread at a time.
///
/// Texts must be valid UTF-8 and nesting at most 512 deep: anything else fails the archive, because
/// storing something other than what was given would lose data silently.
class QSML_EXPORT KeyedArchiver {
public:
    KeyedArchiver();
    ~KeyedArchiver();
    KeyedArchiver(const KeyedArchiver&) = delete;
    KeyedArchiver& operator=(const KeyedArchiver&) = delete;

    /// The archive of a root object; empty, with the error filled, when something in it cannot be
    /// archived. The bytes are the archiver's and live until its next call.
    std::span<const std::uint8_t> archive(const Object& root, Error* error = nullptr);
    /// The same of any value (a text, number, collection ...).
    std::span<const std::uint8_t> archive(const Value& root, Error* error = nullptr);

    /// Writes instances of a class under another name.
    void setClassName(std::string_view name, const ArchiveClass& forClass);

    // For encodeWithCoder of the object being written. Keys must outlive the archiver (literals); a
    // key that begins with "$" gets a second one. Nil is written as a reference to nothing: the key
    // is there.
    void encodeInt64(std::string_view key, std::int64_t value);
    void encodeFloat(std::string_view key, float value);
    void encodeDouble(std::string_view key, double value);
    void encodeBool(std::string_view key, bool value);
    void encodeString(std::string_view key, const String& value);
    void encodeDate(std::string_view key, const std::optional<Date>& value);
    void encodeData(std::string_view key, const std::optional<Data>& value);
    void encodeURL(std::string_view key, const std::optional<URL>& value);
    void encodeObject(std::string_view key, const Object* value);
    /// An NSOrderedSet (or NSSet) of texts; nothing is nil, an empty set is a set.
    void encodeOrderedSet(std::string_view key, const std::optional<OrderedSet<String>>& value);
    void encodeSet(std::string_view key, const std::optional<OrderedSet<String>>& value);
    /// Any value as an object: numbers become number objects.
    void encodeValue(std::string_view key, const Value& value);

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

}  // namespace qsml
