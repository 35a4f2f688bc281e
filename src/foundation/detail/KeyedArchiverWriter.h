#pragma once
#include <array>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/KeyedArchiver.h"
#include "foundation/detail/IdentityTable.h"
#include "foundation/detail/PropertyListWriter.h"
#include "foundation/detail/platformClasses.h"

namespace qsml {

/// What is behind KeyedArchiver: the object table of the archive being written.
///
/// A reference is the index of a UID in the property list. Only the UID 0 is shared: a fresh one
/// for every other reference keeps the decoded size in proportion to the archive's.
class KeyedArchiver::Writer {
public:
    using Index = detail::PropertyListWriter::Index;

    explicit Writer(KeyedArchiver& archiver) : archiver_(archiver) {}

    template <class Root>
    std::span<const std::uint8_t> archive(const Root& root, Error* error);
    void setClassName(std::string_view name, const ArchiveClass& forClass) {
        classNames_[&forClass] = name;
    }

    bool hasFailed() const { return failed_; }
    void add(std::string_view key, Index value);

    Index boolean(bool value);
    Index integer(std::int64_t value);
    Index real(float value) { return list_.real(value); }
    Index real(double value) { return list_.real(value); }

    Index nil() const { return nil_; }
    Index reference(const String& text, std::string_view key);
    Index reference(Date date, std::string_view key);
    Index reference(const Data& data, std::string_view key);
    Index reference(const URL& url, std::string_view key);
    Index reference(const UUID& uuid, std::string_view key);
    Index reference(const Object& object, std::string_view key);
    Index reference(const Value& value, std::string_view key);
    /// A set or an ordered set.
    Index reference(const OrderedSet<String>& texts, detail::PlatformClass kind,
                    std::string_view key);

private:
    struct Text {
        std::uint32_t uid = 0;
        Index index = 0;
    };
    struct Node {
        std::uint32_t uid = 0;
        std::uint32_t height = 0;  // 0 while it is being written
    };
    /// One level of nesting: counts depth on the way down and height on the way up.
    class Level {
    public:
        Level(Writer& writer, std::string_view key);
        ~Level();
        std::uint32_t height() const { return writer_.height_ + 1; }

    private:
        Writer& writer_;
        std::uint32_t heightBeside_;
    };

    void begin();
    std::span<const std::uint8_t> finish(Index root, Error* error);
    void fail(std::string_view what, std::string_view key);
    void meet(const Node& node, std::string_view key);
    bool fits(std::size_t size, std::string_view key);

    std::uint32_t newUID(Index element, std::string_view key);
    Index newReference(Index element, std::string_view key) {
        return list_.uid(newUID(element, key));
    }
    Index keyIndex(std::string_view key);
    /// Text of the archive's own: kept as it is, also when it begins with "$".
    Index rawText(std::string_view text);
    Index numberedKey(std::size_t number);
    Index classReference(const ArchiveClass& archiveClass);
    std::string_view nameOf(const ArchiveClass& archiveClass) const;
    void endInstance(Index instance, std::size_t firstPair, const ArchiveClass& archiveClass);

    Index number(const Value& value, std::string_view key);
    Index collection(const Value& value, detail::PlatformClass kind, std::string_view key);
    void addContent(const Value& value, detail::PlatformClass kind);
    void addArray(std::string_view key, std::size_t firstReference);
    /// One reference after the other, onto the stack of references.
    template <class Elements, class ReferenceOf>
    void pushReferences(const Elements& elements, ReferenceOf&& referenceOf);
    void addNumbered(std::size_t firstReference);

    KeyedArchiver& archiver_;
    detail::PropertyListWriter list_;
    std::vector<Index> elements_;                 // of $objects
    std::vector<std::pair<Index, Index>> pairs_;  // of the instances being written, a stack
    std::vector<Index> references_;               // of the collections being written, a stack
    detail::IdentityTable<Index> keys_;
    detail::IdentityTable<Text> texts_;
    detail::IdentityTable<Node> nodes_;
    detail::IdentityTable<Index> classes_;
    std::vector<Index> numberedKeys_;
    std::array<Index, 32> smallIntegers_{};  // plus one; 0 is not yet written
    std::array<Index, 2> booleans_{};        // likewise
    Index nil_ = 0;
    std::vector<Value> kept_;  // keeps the addresses in nodes_ from being used again
    std::unordered_map<const ArchiveClass*, std::string> classNames_;
    std::uint32_t depth_ = 0, height_ = 0;
    bool failed_ = false;
    std::string reason_;
};

}  // namespace qsml
