#include <mutex>

#include "contentpacks/PLXContentPack.h"
#include "foundation/Bundle.h"
#include "foundation/Log.h"
#include "foundation/paths.h"

namespace qsml {
namespace {

/// The folder of a pack that the application ships.
std::optional<URL> folderInMainBundle(std::string_view packUUID) {
    const auto index = Bundle::main().URLForResource("index", "json", packUUID);
    if (!index) return std::nullopt;
    const std::string path = index->path();
    return URL::fileURLWithPath(path.substr(0, path.rfind('/')));
}

std::optional<URL> folderOfUserFiles() {
    const String bundlePath = Bundle::main().infoValue("QSMediaLibraryBundlePath").string();
    if (bundlePath.empty()) return std::nullopt;
    return appendingPathComponent(URL::fileURLWithPath(expandingTildeInPath(bundlePath)),
                                  "Samples");
}

}  // namespace

URL PLXContentPack::storeContentPackMediaItemLocationURL() {
    static const URL& folder =
        *new URL(appendingPathComponent(applicationSupportDirectory(), "Content Packs").value());
    return folder;
}

std::optional<URL> PLXContentPack::userContentPackMediaItemLocationURL() {
    static std::mutex& lock = *new std::mutex;
    static auto& folder = *new std::optional<URL>();
    const std::lock_guard hold(lock);
    if (!folder) folder = folderOfUserFiles();
    return folder;
}

std::optional<URL> PLXContentPack::locationURL() const {
    return location_.url ? location_.url : derivedLocationURL();
}

std::optional<URL> PLXContentPack::locationURL() {
    std::optional<URL> folder = std::as_const(*this).locationURL();
    if (!isImmutable()) location_.url = folder;
    return folder;
}

// The UUID comes from catalogues and archives, that is from outside, whatever the source.
std::optional<URL> PLXContentPack::derivedLocationURL() const {
    if (owner() == ownerUser) return userContentPackMediaItemLocationURL();
    if (source() != sourceBundle && source() != sourceStore) return std::nullopt;
    auto folder = appendingPathComponent(storeContentPackMediaItemLocationURL(), uuid());
    if (!folder)
        log("-[PLXContentPack locationURL]", __LINE__,
            "The UUID names no folder of its own: " + description());
    else if (source() == sourceBundle)
        folder = folderInMainBundle(uuid());
    return folder;
}

}  // namespace qsml
