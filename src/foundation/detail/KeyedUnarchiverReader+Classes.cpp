#include "foundation/detail/KeyedUnarchiverReader.h"
#include "foundation/detail/archiveText.h"
#include "foundation/detail/classNames.h"

namespace qsml {

void KeyedUnarchiver::Reader::setClass(const ArchiveClass& archiveClass,
                                       std::string_view forClassName) {
    substitutes_.insert_or_assign(std::string(forClassName), &archiveClass);
    knownClasses_.clear();
}

/// The class of an instance; fails the archive when it has none or nobody knows it.
KeyedUnarchiver::Reader::Class KeyedUnarchiver::Reader::classOf(const Item& instance,
                                                                std::string_view key) {
    Frame frame{instance, instance.count > 0 ? instance.count - 1 : 0};  // where it mostly stands
    const std::uint32_t uid = takeReference(frame, "$class");
    if (failed_) return {};
    if (uid == 0) {
        fail("the archive has an object without a class at key (" + std::string(key) + ")");
        return {};
    }
    if (slots_[uid].tag() == Slot::archiveClass) return classes_[slots_[uid].index()];
    const Class described = describedClass(uid, key);
    if (failed_ || slots_[uid].tag() != Slot::unknown || !charge(2 * sizeof(Class)))
        return described;
    slots_[uid] = Slot::of(Slot::archiveClass, classes_.size());
    classes_.push_back(described);
    return described;
}

KeyedUnarchiver::Reader::Class KeyedUnarchiver::Reader::describedClass(std::uint32_t uid,
                                                                       std::string_view key) {
    Frame description{element(uid, key)};
    const bool isDictionary = description.dictionary.type == Type::dictionary;
    const Item name = isDictionary ? take(description, "$classname") : Item{};
    if (!name.isString()) {
        fail("the archive has a damaged class description at key (" + std::string(key) + ")");
        return {};
    }
    if (!charge(4 * std::uint64_t{name.count}) || !work(name.count / 16)) return {};
    std::string_view text = name.bytes();
    std::string written;
    if (name.type == Type::utf16) {
        written.resize(detail::utf8SizeOfUTF16(name.body, name.count));
        detail::utf8FromUTF16(name.body, name.count, written.data());
        text = written;
    }
    const Class named = classNamed(text);
    if (!named.isKnown())
        fail("-[NSKeyedUnarchiver decodeObjectForKey:]: cannot decode object of class (" +
             std::string(text) + ") for key (" + std::string(key) + ")");
    return named;
}

/// This unarchiver's substitutes, the process's, the platform's own classes, then the registered
/// ones.
KeyedUnarchiver::Reader::Class KeyedUnarchiver::Reader::classNamed(std::string_view name) {
    const std::uint64_t generation = detail::classNamesGeneration();
    if (knownGeneration_ != generation) knownClasses_.clear();
    knownGeneration_ = generation;
    for (const auto& [knownName, itsClass] : knownClasses_)
        if (knownName.size() == name.size() &&
            detail::sameBytes(knownName.data(), name.data(), name.size()))
            return itsClass;
    Class found;
    const auto substitute = substitutes_.find(name);
    if (substitute != substitutes_.end()) found.archiveClass = substitute->second;
    if (!found.isKnown()) found.archiveClass = detail::globalSubstitute(name);
    if (!found.isKnown()) found.platformClass = detail::platformClassNamed(name);
    if (!found.isKnown()) found.archiveClass = ArchiveClass::named(name);
    if (found.isKnown()) knownClasses_.emplace_back(name, found);
    return found;
}

}  // namespace qsml
