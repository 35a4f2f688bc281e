#pragma once
#include <type_traits>

#include "core/PropertyTable.h"
#include "core/RecordKey.h"
#include "core/recordMacros.h"
#include "foundation/Object.h"

namespace qsml {

/// The class object of a kind of value object: its table. Made once, never destroyed; immutable.
class QSML_EXPORT ValueClass : public ArchiveClass {
public:
    ValueClass(std::string_view name, Allocate maker, std::vector<Property> properties)
        : ArchiveClass(name, &Object::rootClass(), maker), properties_(std::move(properties)) {}
    /// Makes the class known to decoding and answers it.
    static const ValueClass& registered(const ValueClass& valueClass) {
        registerClass(valueClass);
        return valueClass;
    }
    const std::vector<Property>& properties() const { return properties_; }

private:
    std::vector<Property> properties_;
};

/// A small object without an identity, which records hold by value; declared by the same lines as a
/// record. Confined to one thread at a time while it is changed; what a record holds is its own
/// copy, which nobody changes, and which any thread may read.
class QSML_EXPORT ValueObject : public Object {
public:
    virtual const ValueClass& valueClass() const = 0;
    const ArchiveClass& archiveClass() const final { return valueClass(); }

    /// The same object, or one of this class or a subclass of it with equal properties: reals
    /// exactly, nil only to nil.
    bool isEqual(const Object& other) const final;
    std::size_t hash() const final;

    /// The rows of the table; classes that read older forms call this first.
    void encodeWithCoder(KeyedArchiver& coder) const override;
    bool initWithCoder(KeyedUnarchiver& coder) override;

protected:
    /// The common setter of every line.
    template <class T>
    void assign(std::string_view, T& field, std::type_identity_t<T>&& value) {
        field = std::move(value);
    }
};

}  // namespace qsml
