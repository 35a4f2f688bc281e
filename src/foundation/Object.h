#pragma once
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Export.h"
#include "foundation/String.h"

namespace qsml {

class KeyedArchiver;
class KeyedUnarchiver;
class Object;

/// What an archive knows of a class: its name, its superclass and how to make an empty instance.
class QSML_EXPORT ArchiveClass {
public:
    using Allocate = std::shared_ptr<Object> (*)();
    constexpr ArchiveClass(std::string_view itsName, const ArchiveClass* itsSuperclass,
                           Allocate itsAllocate)
        : name_(itsName), superclass_(itsSuperclass), allocate_(itsAllocate) {}
    ArchiveClass(const ArchiveClass&) = delete;
    ArchiveClass& operator=(const ArchiveClass&) = delete;

    std::string_view name() const { return name_; }
    const ArchiveClass* superclass() const { return superclass_; }
    /// Null for a class without instances of its own.
    Allocate allocate() const { return allocate_; }
    bool isSubclassOf(const ArchiveClass& other) const {
        for (auto* c = this; c; c = c->superclass_)
            if (c == &other) return true;
        return false;
    }

    /// Makes the class known to decoding under its name. Archives name classes; only registered
    /// ones are ever made. Thread-safe; repeating it does nothing.
    static void registerClass(const ArchiveClass& archiveClass);
    /// Null when no class of that name is registered.
    static const ArchiveClass* named(std::string_view name);

private:
    std::string_view name_;
    const ArchiveClass* superclass_;
    Allocate allocate_;
};

/// The root of everything that can be archived, put into a Value or stored as a row.
class QSML_EXPORT Object {
public:
    virtual ~Object();
    virtual const ArchiveClass& archiveClass() const = 0;
    /// The root class, NSObject in archives.
    static const ArchiveClass& rootClass();

    /// Identity unless a class says otherwise.
    virtual bool isEqual(const Object& other) const { return this == &other; }
    virtual std::size_t hash() const { return std::hash<const void*>()(this); }
    /// A mutable copy; null for classes that cannot be copied.
    virtual std::shared_ptr<Object> copyObject() const { return nullptr; }

    virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
    /// Fills a freshly allocated instance; reports damage through the coder. False makes the object
    /// nil.
    virtual bool initWithCoder(KeyedUnarchiver& coder) = 0;

protected:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
};

}  // namespace qsml
