#pragma once
#include <memory>

#include "foundation/String.h"

namespace qsml {

/// A URL: its text and, where that is relative, the URL that it is relative to. Immutable.
/// Equal when text and base are equal; nothing is normalised. Nil is an empty std::optional.
class QSML_EXPORT URL {
public:
    /// Nothing when the text is no valid URL (RFC 3986 characters, well-formed percent-escapes).
    static std::optional<URL> withString(std::string_view text, const URL* relativeTo = nullptr);
    /// A file URL of a path; the bytes that a URL may not hold are percent-escaped, so any file
    /// name, also one that is not UTF-8, comes back from path(). Relative paths are made absolute
    /// against the working directory.
    static URL fileURLWithPath(std::string_view path);

    const String& relativeString() const { return relative_; }
    const URL* baseURL() const { return base_.get(); }
    /// The URL with its base resolved (RFC 3986, section 5).
    String absoluteString() const;
    bool isFileURL() const;
    /// The path of the absolute URL with escapes undone; for a file URL the file's path.
    std::string path() const;

    friend bool operator==(const URL& a, const URL& b);

private:
    URL(String relative, std::shared_ptr<const URL> base);
    String relative_;
    std::shared_ptr<const URL> base_;
    friend class KeyedUnarchiver;
};

}  // namespace qsml

template <>
struct std::hash<qsml::URL> {
    std::size_t operator()(const qsml::URL& url) const noexcept {
        std::size_t mixed = 0;
        for (const auto* part = &url; part; part = part->baseURL())
            mixed = mixed * 31 + std::hash<qsml::String>()(part->relativeString());
        return mixed;
    }
};
