#include "foundation/URL.h"

#include <filesystem>
#include <system_error>

#include "foundation/detail/urlParts.h"

namespace qsml {

URL::URL(String relative, std::shared_ptr<const URL> base)
    : relative_(std::move(relative)), base_(std::move(base)) {}

std::optional<URL> URL::withString(std::string_view text, const URL* relativeTo) {
    // An empty reference means its base; without one it means nothing.
    if ((text.empty() && !relativeTo) || !detail::isValidURL(text)) return std::nullopt;
    return URL(String(text), relativeTo ? std::make_shared<const URL>(*relativeTo) : nullptr);
}

URL URL::fileURLWithPath(std::string_view path) {
    std::string absolute(path);
    if (!path.starts_with('/')) {
        std::error_code error;  // a removed working directory: the path is taken from the root
        absolute = std::filesystem::current_path(error).string();
        if (!absolute.ends_with('/')) absolute += '/';
        absolute += path;
    }
    return URL(String("file://" + detail::percentEncodedPath(absolute)), nullptr);
}

String URL::absoluteString() const {
    if (!base_) return relative_;
    return String(detail::resolvedURL(relative_.view(), base_->absoluteString().view()));
}

bool URL::isFileURL() const {
    const String absolute = absoluteString();
    const auto scheme = detail::urlParts(absolute.view()).scheme;
    constexpr std::string_view file = "file";
    if (!scheme || scheme->size() != file.size()) return false;
    for (std::size_t i = 0; i < file.size(); ++i)
        if (((*scheme)[i] | 0x20) != file[i]) return false;
    return true;
}

std::string URL::path() const {
    const String absolute = absoluteString();
    return detail::percentDecoded(detail::urlParts(absolute.view()).path);
}

QSML_EXPORT bool operator==(const URL& a, const URL& b) {
    if (a.relative_ != b.relative_) return false;
    return a.base_ == b.base_ || (a.base_ && b.base_ && *a.base_ == *b.base_);
}

}  // namespace qsml
