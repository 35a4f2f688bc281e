// The order of texts for people.
#include "foundation/collation.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <vector>

#include "foundation/text.h"

namespace qsml {

namespace {

constexpr UChar32 replacementCharacter = 0xFFFD;

std::int32_t icuSize(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("The text is too long for Unicode processing");
    return static_cast<std::int32_t>(text.size());
}

/// The process's locale. The generation tells each thread when its collator is out of date.
struct CurrentLocale {
    std::mutex mutex;
    std::string identifier;  // empty: the system's
    std::atomic<unsigned> generation{1};
};

CurrentLocale& sharedLocale() {
    static auto& locale = *new CurrentLocale();
    return locale;
}

std::string systemLocale() {
    // A process without locale settings gets the POSIX variant, which sorts all capitals first and
    // cannot ignore case: no order for people.
    std::string found = uloc_getDefault();
    return found == "en_US_POSIX" || found == "c" ? "en_US" : found;
}

/// One for each thread: opening a collator costs far more than a comparison.
const Collation& threadCollation() {
    thread_local std::optional<Collation> collation;
    thread_local unsigned generation = 0;
    const unsigned latest = sharedLocale().generation.load(std::memory_order_acquire);
    if (generation != latest) {
        collation.emplace();
        generation = latest;
    }
    return *collation;
}

}  // namespace

Collation::Collation() {
    const std::string locale = currentLocale();
    UErrorCode status = U_ZERO_ERROR;
    UCollator* const opened = ucol_open(locale.c_str(), &status);
    if (!opened) return;
    collator_.reset(opened, ucol_close);
    ucol_setStrength(opened, UCOL_SECONDARY);
    UVersionInfo version;
    ucol_getVersion(opened, version);
    char text[U_MAX_VERSION_STRING_LENGTH];
    u_versionToString(version, text);
    identity_ = locale + " " + text;
}

int Collation::compare(std::string_view a, std::string_view b) const {
    if (collator_) {
        UErrorCode status = U_ZERO_ERROR;
        const int order = ucol_strcollUTF8(collator_.get(), a.data() ? a.data() : "", icuSize(a),
                                           b.data() ? b.data() : "", icuSize(b), &status);
        if (U_SUCCESS(status)) return order;
    }
    const int order = a.compare(b);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int localizedCaseInsensitiveCompare(std::string_view a, std::string_view b) {
    return threadCollation().compare(a, b);
}

void setCurrentLocale(std::string_view identifier) {
    auto& locale = sharedLocale();
    const std::lock_guard lock(locale.mutex);
    locale.identifier = identifier;
    locale.generation.fetch_add(1, std::memory_order_release);
}

std::string currentLocale() {
    auto& locale = sharedLocale();
    const std::lock_guard lock(locale.mutex);
    return locale.identifier.empty() ? systemLocale() : locale.identifier;
}

std::string Collation::sortKey(std::string_view text) const {
    if (!collator_) return std::string(text);
    std::vector<UChar> characters(text.size() + 1);  // UTF-16 is never longer
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(characters.data(), icuSize(text) + 1, &length,
                         text.data() ? text.data() : "", icuSize(text), replacementCharacter,
                         nullptr, &status);
    if (U_FAILURE(status)) return std::string(text);
    std::string key(text.size() * 3 + 16, '\0');
    for (;;) {
        const std::int32_t size = ucol_getSortKey(collator_.get(), characters.data(), length,
                                                  reinterpret_cast<std::uint8_t*>(key.data()),
                                                  static_cast<std::int32_t>(key.size()));
        const bool fits = static_cast<std::size_t>(size) <= key.size();
        key.resize(static_cast<std::size_t>(size));
        if (!fits) continue;
        if (!key.empty()) key.pop_back();  // the terminating zero
        return key;
    }
}

std::string localizedCaseInsensitiveSortKey(std::string_view text) {
    return threadCollation().sortKey(text);
}

std::string collationIdentity() { return threadCollation().identity(); }

}  // namespace qsml
