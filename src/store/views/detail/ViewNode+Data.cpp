// The stored form of a node. All numbers are varints (seven bits a byte, the lowest first), signed
// ones in zigzag:
//   version 1, height (both one byte), number of entries;
//   per entry: row id less the one before, length of the beginning that the key shares with the
//   one before, length of the rest, the rest;
//   above the leaves, per child: id less the one before, number of rows;
//   checksum of all this, mixed with the node's id: 8 bytes, little-endian.
#include "store/views/detail/ViewNode.h"

#include <algorithm>

#include "store/detail/checksum.h"
#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

namespace {

constexpr std::uint8_t dataVersion = 1;
constexpr std::size_t checksumSize = 8;
constexpr std::uint64_t maxCount = std::uint64_t{1} << 48;  // so that no sum of counts can wrap

std::uint64_t checksum(std::string_view body, std::int64_t id) {
    return textChecksum(body) ^ static_cast<std::uint64_t>(id);
}

void appendNumber(std::string& out, std::uint64_t number) {
    for (; number >= 0x80; number >>= 7) out += static_cast<char>(number | 0x80);
    out += static_cast<char>(number);
}

void appendDifference(std::string& out, std::int64_t number, std::int64_t before) {
    // The difference of any two ids fits when it may wrap.
    const std::uint64_t raw =
        static_cast<std::uint64_t>(number) - static_cast<std::uint64_t>(before);
    appendNumber(out, (raw << 1) ^ (raw >> 63 ? ~std::uint64_t{0} : 0));
}

std::size_t sharedLength(std::string_view a, std::string_view b) {
    const std::size_t length = std::min(a.size(), b.size());
    const auto differing = std::mismatch(a.begin(), a.begin() + length, b.begin()).first;
    return static_cast<std::size_t>(differing - a.begin());
}

void appendEntries(std::string& out, const ViewEntryList& entries) {
    std::int64_t rowid = 0;
    std::string_view key;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        appendDifference(out, entries.rowid(i), rowid);
        const std::string_view next = entries.key(i);
        const std::size_t shared = sharedLength(key, next);
        appendNumber(out, shared);
        appendNumber(out, next.size() - shared);
        out.append(next.substr(shared));
        rowid = entries.rowid(i);
        key = next;
    }
}

/// Reads a node's data; throws ViewFailure as soon as it is not what data() writes.
class Reader {
public:
    Reader(std::string_view data, std::int64_t id) : rest_(data), id_(id) {}

    std::unique_ptr<ViewNodeContent> content() {
        takeChecksum();
        if (byte() != dataVersion) fail("its version is unknown");
        auto content = std::make_unique<ViewNodeContent>();
        content->height = byte();
        if (content->height > ViewNodeContent::maxHeight) fail("its height");
        const std::uint64_t size = number();
        if (size == 0 || size > content->capacity()) fail("its size");
        readEntries(*content, size);
        if (!content->isLeaf()) readChildren(*content, size);
        if (!rest_.empty()) fail("it does not end");
        return content;
    }

private:
    [[noreturn]] void fail(const char* what) const {
        throw ViewFailure("node " + std::to_string(id_) + " of a view is damaged: " + what);
    }

    std::uint8_t byte() {
        if (rest_.empty()) fail("it is too short");
        const char first = rest_.front();
        rest_.remove_prefix(1);
        return static_cast<std::uint8_t>(first);
    }

    std::uint64_t number() {
        std::uint64_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const std::uint64_t next = byte();
            // Ten bytes hold 70 bits, the last of them one; a longer way to write one is not ours.
            if (shift == 63 && next > 1) fail("a number");
            number |= (next & 0x7f) << shift;
            if (next < 0x80) {
                if (next == 0 && shift > 0) fail("a number");
                return number;
            }
        }
    }

    std::int64_t differing(std::int64_t before) {
        const std::uint64_t zigzag = number();
        const std::uint64_t raw = (zigzag >> 1) ^ (0 - (zigzag & 1));
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(before) + raw);
    }

    std::string_view bytes(std::uint64_t size) {
        if (size > rest_.size()) fail("it is too short");
        const std::string_view bytes = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return bytes;
    }

    void takeChecksum() {
        if (rest_.size() < checksumSize) fail("it is too short");
        const std::string_view stored = rest_.substr(rest_.size() - checksumSize);
        rest_.remove_suffix(checksumSize);
        std::uint64_t sum = 0;
        for (std::size_t i = checksumSize; i-- > 0;)
            sum = sum << 8 | static_cast<std::uint8_t>(stored[i]);
        if (sum != checksum(rest_, id_)) fail("its checksum");
    }

    void readEntries(ViewNodeContent& content, std::uint64_t size) {
        content.entries.reserve(size, rest_.size());
        std::int64_t rowid = 0;
        std::string key;
        for (std::uint64_t i = 0; i < size; ++i) {
            rowid = differing(rowid);
            const std::uint64_t shared = number();
            if (shared > key.size()) fail("a key");
            key.resize(shared);
            key.append(bytes(number()));
            content.entries.insert(i, rowid, key);
        }
    }

    void readChildren(ViewNodeContent& content, std::uint64_t size) {
        content.children.reserve(size);
        content.counts.reserve(size);
        std::int64_t id = id_;
        for (std::uint64_t i = 0; i < size; ++i) {
            id = differing(id);
            const std::uint64_t count = number();
            if (id <= 0) fail("the id of a child");
            if (count == 0 || count > maxCount) fail("the count of a child");
            content.children.push_back(std::make_shared<ViewNode>(id, count, content.height - 1));
            content.counts.push_back(count);
        }
    }

    std::string_view rest_;
    const std::int64_t id_;
};

}  // namespace

std::string ViewNodeContent::data(std::int64_t id) const {
    std::string out;
    out += static_cast<char>(dataVersion);
    out += static_cast<char>(height);
    appendNumber(out, entries.size());
    appendEntries(out, entries);
    for (std::size_t i = 0; i < children.size(); ++i) {
        appendDifference(out, children[i]->id(), i == 0 ? id : children[i - 1]->id());
        appendNumber(out, counts[i]);
    }
    const std::uint64_t sum = checksum(out, id);
    for (unsigned shift = 0; shift < 64; shift += 8) out += static_cast<char>(sum >> shift & 0xff);
    return out;
}

std::unique_ptr<ViewNodeContent> ViewNodeContent::fromData(std::string_view data, std::int64_t id) {
    return Reader(data, id).content();
}

}  // namespace qsml::detail
