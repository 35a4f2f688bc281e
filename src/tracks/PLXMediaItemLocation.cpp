#include "tracks/PLXMediaItemLocation.h"

#include "foundation/detail/urlParts.h"

namespace qsml {
namespace {

std::optional<URLSet> unionOf(const std::optional<URLSet>& mine,
                              const std::optional<URLSet>& theirs) {
    std::vector<URL> urls;
    for (const auto* set : {&mine, &theirs})
        if (*set) urls.insert(urls.end(), (*set)->begin(), (*set)->end());
    if (urls.empty()) return std::nullopt;
    return URLSet(std::move(urls));
}

}  // namespace

QSML_DEFINE_RECORD(PLXMediaItemLocation)

std::shared_ptr<PLXMediaItemLocation> PLXMediaItemLocation::initWithTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, const std::optional<URL>& sourceURI,
    std::int64_t type) {
    auto made = initWithUUID(titleID ? titleID->internalID() : String());
    made->setType(type);
    if (sourceURI) made->setSourceURIs(URLSet{*sourceURI});
    return made;
}

std::shared_ptr<PLXMediaItemLocation> PLXMediaItemLocation::initWithTitleID(
    const std::shared_ptr<PLXMediaItemTitleID>& titleID, const std::optional<URL>& sourceURI,
    std::int64_t type) {
    if (titleID) (void)titleID->internalID();
    return initWithTitleID(std::shared_ptr<const PLXMediaItemTitleID>(titleID), sourceURI, type);
}

std::optional<URL> PLXMediaItemLocation::sourceURIForScheme(const String& scheme) const {
    if (!scheme || !sourceURIs()) return std::nullopt;
    for (const URL& uri : *sourceURIs()) {
        const String text = uri.absoluteString();
        if (detail::urlParts(text).scheme == *scheme) return uri;
    }
    return std::nullopt;
}

std::shared_ptr<PLXMediaItemLocation> PLXMediaItemLocation::mergedCopyWithMediaItemLocation(
    const PLXMediaItemLocation& other) const {
    auto merged = copy();
    if (type() != other.type()) return merged;
    merged->setSourceURIs(unionOf(sourceURIs(), other.sourceURIs()));
    if (!urlBookmarkData() && other.urlBookmarkData())
        merged->setUrlBookmarkData(other.urlBookmarkData());
    return merged;
}

}  // namespace qsml
