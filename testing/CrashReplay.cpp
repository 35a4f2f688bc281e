#include "testing/CrashReplay.h"

#include <algorithm>

namespace qsml {
namespace {

constexpr std::size_t sectorBytes = 512;

void put(std::string& file, std::uint64_t offset, std::string_view bytes) {
    if (file.size() < offset + bytes.size()) file.resize(offset + bytes.size());
    std::copy(bytes.begin(), bytes.end(),
              file.begin() + static_cast<std::string::difference_type>(offset));
}

void applyTo(FileImage& image, const FileEvent& event) {
    switch (event.kind) {
        case FileEvent::Kind::write:
            put(image[event.path], event.offset, event.bytes);
            break;
        case FileEvent::Kind::truncate:
            image[event.path].resize(event.offset);
            break;
        case FileEvent::Kind::remove:
            image.erase(event.path);
            break;
        case FileEvent::Kind::sync:
        case FileEvent::Kind::mark:
            break;
    }
}

/// Some sectors of the write reach the disk, the others do not or hold garbage.
void tear(FileImage& image, const FileEvent& write, bool withGarbage, std::mt19937& random) {
    for (std::size_t at = 0; at < write.bytes.size();) {
        // Sectors are those of the disk, not of the write.
        const std::size_t room = sectorBytes - (write.offset + at) % sectorBytes;
        std::string bytes = write.bytes.substr(at, room);
        const bool isWritten = random() % 2 == 0;
        if (!isWritten && withGarbage)
            for (char& byte : bytes) byte = static_cast<char>(random());
        if (isWritten || withGarbage) put(image[write.path], write.offset + at, bytes);
        at += bytes.size();
    }
}

}  // namespace

void CrashReplay::apply(const FileEvent& event) {
    applyTo(killed_, event);
    if (event.kind == FileEvent::Kind::mark) return;
    const bool isRemovedForGood = event.kind == FileEvent::Kind::remove && event.offset != 0;
    if (event.kind != FileEvent::Kind::sync && !isRemovedForGood) {
        unsynced_.push_back(event);
        return;
    }
    const auto isOfFile = [&](const FileEvent& one) { return one.path == event.path; };
    for (const FileEvent& one : unsynced_)
        if (isOfFile(one)) applyTo(durable_, one);
    if (isRemovedForGood) applyTo(durable_, event);
    unsynced_.erase(std::remove_if(unsynced_.begin(), unsynced_.end(), isOfFile), unsynced_.end());
}

FileImage CrashReplay::afterPowerLoss(std::mt19937& random) const {
    FileImage image = durable_;
    std::vector<FileEvent> left = unsynced_;
    if (random() % 2 == 0) std::shuffle(left.begin(), left.end(), random);
    const auto keptOfFour = random() % 4 + 1;  // some losses spare nearly all, some nearly nothing
    for (const FileEvent& event : left) {
        const bool isKept = random() % 5 < keptOfFour;
        const auto fate = random() % 8;
        if (event.kind == FileEvent::Kind::write && fate < 2)
            tear(image, event, fate == 0, random);
        else if (isKept)
            applyTo(image, event);
    }
    return image;
}

}  // namespace qsml
