#pragma once
#include "foundation/Data.h"
#include "foundation/Object.h"
#include "foundation/URL.h"

namespace qsml {

/// A persistent reference to a file on the user's device: bytes that are turned back into a URL
/// later, or into the path that they stored where the file cannot be reached. The bookmark is
/// immutable but for the attached URL, which any threads may read and set.
class QSML_EXPORT PLXFileBookmark final : public Object {
public:
    static const ArchiveClass& classObject();

    /// Null, with a log line, when the URL is no file URL or the bookmark cannot be made.
    static std::shared_ptr<PLXFileBookmark> initWithFileURL(const qsml::URL& fileURL);
    /// The same, relative to a base URL that may be null.
    static std::shared_ptr<PLXFileBookmark> initWithFileURL(const qsml::URL& fileURL,
                                                            const qsml::URL* relativeToURL);

    const std::optional<Data>& bookmarkData() const { return bookmarkData_; }

    /// Whatever a caller attached; never filled here and not archived.
    std::optional<qsml::URL> URL() const;
    void setURL(std::optional<qsml::URL> url);

    /// Where the file is now. With the flag set, where it was: a placeholder that cannot be
    /// reached. Nothing when neither is known. The caller starts and stops the use of a
    /// security-scoped URL.
    std::optional<qsml::URL> URLByResolvingBookmarkData(bool& isPlaceholdURL) const;
    std::optional<qsml::URL> URLByResolvingBookmarkDataRelativeToURL(const qsml::URL* baseURL,
                                                                     bool& isPlaceholdURL) const;

    std::shared_ptr<PLXFileBookmark> copy() const;

    const ArchiveClass& archiveClass() const override { return classObject(); }
    std::shared_ptr<Object> copyObject() const override;
    void encodeWithCoder(KeyedArchiver& coder) const override;
    bool initWithCoder(KeyedUnarchiver& coder) override;

private:
    PLXFileBookmark() = default;
    PLXFileBookmark(const PLXFileBookmark& other);
    static std::shared_ptr<PLXFileBookmark> make();

    std::optional<Data> bookmarkData_;
    std::optional<qsml::URL> url_;  // by one lock of the process: it is hardly ever touched
};

}  // namespace qsml
