#pragma once
#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qsml {

/// Builds keyed archives byte by byte, sound ones and every kind of damaged one. Objects of the
/// property list are named by index (Ref), objects of the archive by UID.
class ArchiveBuilder {
public:
    using Ref = std::uint32_t;
    using Pairs = std::vector<std::pair<std::string, Ref>>;

    explicit ArchiveBuilder(int referenceWidth = 4) : referenceWidth_(referenceWidth) {
        add(text("$null"));
    }

    static std::string bigEndian(std::uint64_t value, int width) {
        std::string bytes;
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            bytes += static_cast<char>(shift < 64 ? value >> shift & 0xFF : 0);
        return bytes;
    }
    static std::string head(int kind, std::size_t count) {
        if (count < 15) return std::string(1, static_cast<char>(kind | static_cast<int>(count)));
        return std::string(1, static_cast<char>(kind | 15)) + "\x13" + bigEndian(count, 8);
    }

    // Objects of the property list.
    Ref raw(std::string bytes) {
        objects_.push_back(std::move(bytes));
        return static_cast<Ref>(objects_.size() - 1);
    }
    void set(Ref ref, std::string bytes) { objects_[ref] = std::move(bytes); }
    Ref integer(std::int64_t value) {
        return raw("\x13" + bigEndian(static_cast<std::uint64_t>(value), 8));
    }
    Ref real(double value) {
        return raw("\x23" + bigEndian(std::bit_cast<std::uint64_t>(value), 8));
    }
    Ref real32(float value) {
        return raw("\x22" + bigEndian(std::bit_cast<std::uint32_t>(value), 4));
    }
    Ref boolean(bool value) { return raw(value ? "\x09" : "\x08"); }
    Ref date(double value) {
        return raw("\x33" + bigEndian(std::bit_cast<std::uint64_t>(value), 8));
    }
    Ref data(std::string_view bytes) { return raw(head(0x40, bytes.size()) + std::string(bytes)); }
    Ref text(std::string_view bytes) { return raw(head(0x50, bytes.size()) + std::string(bytes)); }
    Ref utf16(std::u16string_view units) {
        std::string bytes = head(0x60, units.size());
        for (char16_t unit : units) bytes += bigEndian(unit, 2);
        return raw(bytes);
    }
    Ref uid(std::uint64_t value, int width = 4) {
        return raw(std::string(1, static_cast<char>(0x80 | (width - 1))) + bigEndian(value, width));
    }
    std::string arrayBytes(const std::vector<Ref>& elements) const {
        std::string bytes = head(0xA0, elements.size());
        for (Ref element : elements) bytes += bigEndian(element, referenceWidth_);
        return bytes;
    }
    Ref array(const std::vector<Ref>& elements) { return raw(arrayBytes(elements)); }
    /// An array of references to objects of the archive.
    Ref uids(const std::vector<std::uint32_t>& values) {
        std::vector<Ref> elements;
        for (std::uint32_t value : values) elements.push_back(uid(value));
        return array(elements);
    }
    Ref dictionary(const Pairs& pairs) {
        std::string keys, values;
        for (const auto& [key, value] : pairs) {
            keys += bigEndian(text(key), referenceWidth_);
            values += bigEndian(value, referenceWidth_);
        }
        return raw(head(0xD0, pairs.size()) + keys + values);
    }

    // Objects of the archive.
    std::uint32_t add(Ref ref) {
        uids_.push_back(ref);
        return static_cast<std::uint32_t>(uids_.size() - 1);
    }
    /// A UID whose object comes later.
    std::uint32_t reserve() { return add(0); }
    void place(std::uint32_t uid, Ref ref) { uids_[uid] = ref; }
    std::uint32_t addText(std::string_view bytes) { return add(text(bytes)); }
    std::uint32_t classNamed(const std::string& name) {
        return add(dictionary(
            {{"$classname", text(name)}, {"$classes", array({text(name), text("NSObject")})}}));
    }
    Ref instanceRef(const std::string& className, Pairs pairs) {
        pairs.emplace_back("$class", uid(classNamed(className)));
        return dictionary(pairs);
    }
    std::uint32_t instance(const std::string& className, const Pairs& pairs) {
        return add(instanceRef(className, pairs));
    }
    std::uint32_t collection(const std::string& className,
                             const std::vector<std::uint32_t>& elements) {
        return instance(className, {{"NS.objects", uids(elements)}});
    }

    // The whole.
    std::vector<std::uint8_t> archive(std::uint32_t root) {
        return finish(whole(dictionary({{"root", uid(root)}}), array(uids_)));
    }
    Ref whole(Ref top, Ref objects) {
        return dictionary({{"$version", integer(100000)},
                           {"$archiver", text("NSKeyedArchiver")},
                           {"$top", top},
                           {"$objects", objects}});
    }
    Ref objects() { return array(uids_); }
    std::vector<std::uint8_t> finish(Ref top, int offsetWidth = 4) const {
        std::string bytes = "bplist00", table;
        for (const std::string& object : objects_) {
            table += bigEndian(bytes.size(), offsetWidth);
            bytes += object;
        }
        const std::size_t tableAt = bytes.size();
        bytes += table + std::string(6, '\0') + static_cast<char>(offsetWidth) +
                 static_cast<char>(referenceWidth_) + bigEndian(objects_.size(), 8) +
                 bigEndian(top, 8) + bigEndian(tableAt, 8);
        return {bytes.begin(), bytes.end()};
    }

private:
    int referenceWidth_;
    std::vector<std::string> objects_;
    std::vector<Ref> uids_;
};

}  // namespace qsml
