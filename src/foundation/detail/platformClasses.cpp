#include "foundation/detail/platformClasses.h"

#include <array>

namespace qsml::detail {

namespace {

struct Named {
    std::string_view name;
    PlatformClass platformClass;
};

constexpr std::array<Named, 16> names{{
    {"NSDate", PlatformClass::date},
    {"NSOrderedSet", PlatformClass::orderedSet},
    {"NSSet", PlatformClass::set},
    {"NSArray", PlatformClass::array},
    {"NSURL", PlatformClass::url},
    {"NSDictionary", PlatformClass::dictionary},
    {"NSString", PlatformClass::string},
    {"NSMutableString", PlatformClass::string},
    {"NSData", PlatformClass::data},
    {"NSMutableData", PlatformClass::data},
    {"NSUUID", PlatformClass::uuid},
    {"NSNull", PlatformClass::null},
    {"NSMutableArray", PlatformClass::array},
    {"NSMutableSet", PlatformClass::set},
    {"NSMutableOrderedSet", PlatformClass::orderedSet},
    {"NSMutableDictionary", PlatformClass::dictionary},
}};

}  // namespace

PlatformClass platformClassNamed(std::string_view name) noexcept {
    if (!name.starts_with("NS")) return PlatformClass::none;
    for (const Named& entry : names)
        if (entry.name == name) return entry.platformClass;
    return PlatformClass::none;
}

const ArchiveClass& archiveClassOf(PlatformClass platformClass) noexcept {
    const ArchiveClass* root = &Object::rootClass();
    static const std::array<ArchiveClass, 11> classes{{
        {"NSObject", nullptr, nullptr},
        {"NSString", root, nullptr},
        {"NSDate", root, nullptr},
        {"NSData", root, nullptr},
        {"NSURL", root, nullptr},
        {"NSUUID", root, nullptr},
        {"NSNull", root, nullptr},
        {"NSArray", root, nullptr},
        {"NSSet", root, nullptr},
        {"NSOrderedSet", root, nullptr},
        {"NSDictionary", root, nullptr},
    }};
    return classes[static_cast<std::size_t>(platformClass)];
}

}  // namespace qsml::detail
