#pragma once
#include "core/Boxing.h"
#include "foundation/OrderedSet.h"

namespace qsml {

/// Distinct URLs, in the order in which they came. A value.
using URLSet = OrderedSet<URL>;

/// A property that holds URLs: archived as a set, and read from nothing else; elements that are no
/// URLs are left out.
template <>
struct Boxing<std::optional<URLSet>> {
    using URLs = std::optional<URLSet>;
    static constexpr std::string_view encoding = "@";
    static Value box(const URLs& urls, ArchiveForm) {
        if (!urls) return Value();
        return Value(ValueSet(std::vector<Value>(urls->begin(), urls->end())));
    }
    static bool unbox(const Value& value, URLs& into) {
        into.reset();
        if (value.isCollection()) into = urlsOf(value);
        return value.isNil() || (into && into->size() == value.elements().size());
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const URLs& urls,
                       ArchiveForm form) {
        coder.encodeValue(key, box(urls, form));
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, URLs& into, ArchiveForm) {
        into.reset();
        const Value value = coder.decodeValue(key);
        if (accepts(ArchiveForm::set, value.kind())) into = urlsOf(value);
    }

private:
    static URLSet urlsOf(const Value& value) {
        std::vector<URL> urls;
        for (const Value& element : value.elements())
            if (auto url = element.url()) urls.push_back(std::move(*url));
        return URLSet(std::move(urls));
    }
};

}  // namespace qsml
