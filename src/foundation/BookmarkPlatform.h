#pragma once
#include <optional>

#include "foundation/Data.h"
#include "foundation/Error.h"
#include "foundation/Export.h"
#include "foundation/URL.h"

namespace qsml {

/// What bookmarks and security scopes ask of the platform. This one asks the files themselves and
/// grants every scope; a host on a platform with a sandbox derives from it. Thread-safe; functions
/// run on the threads of those who make bookmarks.
class QSML_EXPORT BookmarkPlatform {
public:
    BookmarkPlatform() = default;
    virtual ~BookmarkPlatform();
    BookmarkPlatform(const BookmarkPlatform&) = delete;
    BookmarkPlatform& operator=(const BookmarkPlatform&) = delete;

    /// The one that is asked until another is current. Never destroyed.
    static BookmarkPlatform& native();
    static BookmarkPlatform& current();
    /// The caller keeps it alive until another one is current.
    static void setCurrent(BookmarkPlatform& platform);

    virtual std::optional<Data> bookmarkData(const URL& fileURL, unsigned options,
                                             const URL* relativeTo, Error* error);
    virtual std::optional<URL> resolve(const Data& bookmark, unsigned options,
                                       const URL* relativeTo, Error* error);
    virtual bool startAccess(const URL& url);
    virtual void stopAccess(const URL& url);
};

}  // namespace qsml
