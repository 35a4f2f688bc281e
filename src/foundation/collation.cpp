// The order of texts for people.
#include "foundation/collation.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

#include <atomic>
#include <limits>
#include <mutex>
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
class ThreadCollator {
public:
    ~ThreadCollator() { ucol_close(collator_); }

    /// Null when ICU has no collation data.
    const UCollator* current() {
        const unsigned latest = sharedLocale().generation.load(std::memory_order_acquire);
        if (generation_ != latest) {
            ucol_close(collator_);
            UErrorCode status = U_ZERO_ERROR;
            collator_ = ucol_open(currentLocale().c_str(), &status);
            if (U_SUCCESS(status)) ucol_setStrength(collator_, UCOL_SECONDARY);
            generation_ = latest;
        }
        return collator_;
    }

private:
    UCollator* collator_ = nullptr;
    unsigned generation_ = 0;
};

const UCollator* threadCollator() {
    thread_local ThreadCollator collator;
    return collator.current();
}

}  // namespace

int localizedCaseInsensitiveCompare(std::string_view a, std::string_view b) {
    if (const UCollator* current = threadCollator()) {
        UErrorCode status = U_ZERO_ERROR;
        const int order = ucol_strcollUTF8(current, a.data() ? a.data() : "", icuSize(a),
                                           b.data() ? b.data() : "", icuSize(b), &status);
        if (U_SUCCESS(status)) return order;
    }
    const int order = a.compare(b);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
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

std::string localizedCaseInsensitiveSortKey(std::string_view text) {
    const UCollator* collator = threadCollator();
    if (!collator) return std::string(text);
    std::vector<UChar> characters(text.size() + 1);  // UTF-16 is never longer
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(characters.data(), icuSize(text) + 1, &length,
                         text.data() ? text.data() : "", icuSize(text), replacementCharacter,
                         nullptr, &status);
    if (U_FAILURE(status)) return std::string(text);
    std::string key(text.size() * 3 + 16, '\0');
    for (;;) {
        const std::int32_t size = ucol_getSortKey(collator, characters.data(), length,
                                                  reinterpret_cast<std::uint8_t*>(key.data()),
                                                  static_cast<std::int32_t>(key.size()));
        const bool fits = static_cast<std::size_t>(size) <= key.size();
        key.resize(static_cast<std::size_t>(size));
        if (!fits) continue;
        if (!key.empty()) key.pop_back();  // the terminating zero
        return key;
    }
}

std::string collationIdentity() {
    const UCollator* collator = threadCollator();
    if (!collator) return "none";
    UVersionInfo version;
    ucol_getVersion(collator, version);
    char text[U_MAX_VERSION_STRING_LENGTH];
    u_versionToString(version, text);
    return currentLocale() + " " + text;
}

}  // namespace qsml
