#include "foundation/Object.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "foundation/detail/classNames.h"

namespace qsml {

namespace {

using ClassesByName = std::map<std::string, const ArchiveClass*, std::less<>>;

/// Never destroyed: classes are asked for until the process ends.
struct ClassNames {
    std::mutex mutex;
    std::atomic<std::uint64_t> generation{1};
    ClassesByName registered QSML_GUARDED_BY(mutex);
    ClassesByName substitutes QSML_GUARDED_BY(mutex);
};

ClassNames& classNames() {
    static auto* names = new ClassNames;
    return *names;
}

const ArchiveClass* find(const ClassesByName& classes, std::string_view name) {
    const auto found = classes.find(name);
    return found == classes.end() ? nullptr : found->second;
}

}  // namespace

Object::~Object() = default;

const ArchiveClass& Object::rootClass() {
    static constexpr ArchiveClass root("NSObject", nullptr, nullptr);
    return root;
}

void ArchiveClass::registerClass(const ArchiveClass& archiveClass) {
    ClassNames& names = classNames();
    const std::lock_guard lock(names.mutex);
    names.registered.insert_or_assign(std::string(archiveClass.name()), &archiveClass);
    ++names.generation;
}

const ArchiveClass* ArchiveClass::named(std::string_view name) {
    ClassNames& names = classNames();
    const std::lock_guard lock(names.mutex);
    return find(names.registered, name);
}

namespace detail {

void substituteGlobalClass(const ArchiveClass& archiveClass, std::string_view forClassName) {
    ClassNames& names = classNames();
    const std::lock_guard lock(names.mutex);
    names.substitutes.insert_or_assign(std::string(forClassName), &archiveClass);
    ++names.generation;
}

const ArchiveClass* globalSubstitute(std::string_view name) {
    ClassNames& names = classNames();
    const std::lock_guard lock(names.mutex);
    return find(names.substitutes, name);
}

std::uint64_t classNamesGeneration() noexcept { return classNames().generation; }

}  // namespace detail
}  // namespace qsml
