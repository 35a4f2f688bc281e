#pragma once
#include "foundation/Object.h"

namespace qsml {

/// An object of a class that this version does not know, as a newer one may have stored it: its row
/// is there and reads as nil.
class UndecodableObject final : public Object {
public:
    const ArchiveClass& archiveClass() const override {
        static const ArchiveClass unregistered("PLXStranger", &Object::rootClass(), nullptr);
        return unregistered;
    }
    void encodeWithCoder(KeyedArchiver&) const override {}
    bool initWithCoder(KeyedUnarchiver&) override { return false; }
};

}  // namespace qsml
