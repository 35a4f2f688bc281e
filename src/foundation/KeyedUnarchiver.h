#pragma once
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/Error.h"
#include "foundation/Object.h"
#include "foundation/Value.h"

namespace qsml {

/// Reads keyed archives in place, driven by what the classes ask for.
///
/// No input crashes it, makes it recurse deeper than 512 levels, or makes it allocate more than
/// about 16 times the input and a megabyte; larger than 64 MB and more than a million nodes are
/// refused. One object is made per reference, so two keys with one reference give the same
/// instance, and a cycle gives the object that is being filled. An object of an unknown class fails
/// the archive, but only when somebody asks for it. A value whose type does not fit its key reads
/// as absent.
///
/// One unarchiver decodes many archives and reuses its buffers; keep one for each thread. Short
/// texts that come again in later archives share their bytes. The bytes of an archive must stay
/// valid for the length of the call only. Confined to one thread at a time.
class QSML_EXPORT KeyedUnarchiver {
public:
    /// The domain of its errors; the description is the reason that log lines show.
    static constexpr std::string_view errorDomain = "KeyedUnarchiverErrorDomain";

    KeyedUnarchiver();
    ~KeyedUnarchiver();
    KeyedUnarchiver(const KeyedUnarchiver&) = delete;
    KeyedUnarchiver& operator=(const KeyedUnarchiver&) = delete;

    /// The root; nil with the error filled when the archive is damaged, names an unknown class or
    /// holds no property list. An archive without a root is nil without an error.
    Value unarchive(std::span<const std::uint8_t> bytes, Error* error = nullptr);

    /// Decodes objects archived under `name` as the given class: for this unarchiver, or for all of
    /// the process. This unarchiver's own entries win, then the process's, then the class of that
    /// name.
    void setClass(const ArchiveClass& archiveClass, std::string_view forClassName);
    static void setGlobalClass(const ArchiveClass& archiveClass, std::string_view forClassName);

    // For initWithCoder of the object being read. Asking in the order of encoding is fastest
    // (constant time a key); any order works.

    bool containsValue(std::string_view key);
    /// Scalars: absent is 0 or false. Reals truncate towards zero and saturate, bools are 0 or 1, a
    /// number behind a reference is used, anything else is 0.
    std::int64_t decodeInt64(std::string_view key);
    float decodeFloat(std::string_view key);
    double decodeDouble(std::string_view key);
    bool decodeBool(std::string_view key);
    /// Nil when the key is absent, nil, or holds another type.
    String decodeString(std::string_view key);
    std::optional<Date> decodeDate(std::string_view key);
    std::optional<Data> decodeData(std::string_view key);
    std::optional<URL> decodeURL(std::string_view key);
    /// The texts of an array, set or ordered set, in order; other elements are left out; nothing
    /// when the key holds no collection.
    std::optional<OrderedSet<String>> decodeStrings(std::string_view key);
    /// An instance of the class or a subclass of it; null for anything else.
    std::shared_ptr<Object> decodeObject(std::string_view key, const ArchiveClass& archiveClass);
    /// Whatever object is there (numbers, texts, collections, objects); inline scalars read as nil.
    Value decodeValue(std::string_view key);

    /// Fails the whole archive with a reason; later reads answer nothing.
    void fail(std::string_view reason);
    bool hasFailed() const;

private:
    class Reader;
    std::unique_ptr<Reader> reader_;
};

}  // namespace qsml
