#pragma once
#include <functional>
#include <memory>
#include <string_view>

#include "foundation/Object.h"
#include "foundation/Value.h"

namespace qsml {

/// A condition that an object meets or does not meet; made of a function, or of a text that names
/// keys of the object. Immutable; thread-safe, as far as a function that it was made of is.
class QSML_EXPORT Predicate {
public:
    virtual ~Predicate();
    Predicate(const Predicate&) = delete;
    Predicate& operator=(const Predicate&) = delete;

    /// Whether the object meets it. Values of unfit kinds do not meet a condition; nothing throws
    /// but what such a function throws.
    virtual bool evaluate(const Object& object) const = 0;
    /// The text that stands for it; nil where it was made of a function, which has none.
    virtual String format() const { return {}; }

protected:
    Predicate() = default;
};

/// The predicate of a function, which may run on any thread and on several at a time. Null for an
/// empty function.
QSML_EXPORT std::shared_ptr<const Predicate> predicateWithBlock(
    std::function<bool(const Object& object)> block);

/// Reads one key of an object; nil for a key that it does not have. What the objects are is known
/// to the floors above, so a predicate that names keys is made with their reader.
using KeyReader = Value (*)(const Object& object, std::string_view key);

/// Follows the keys of a path, which points separate. Nil and what has no keys give nil. Of a
/// collection a key is read from every element and gives a collection of the same kind, in which a
/// set leaves out nil and the others hold the null object for it; "@count" is the number of
/// elements. A dictionary is asked for the key as a text.
QSML_EXPORT Value valueForKeyPath(const Object& object, std::string_view keyPath, KeyReader reader);

}  // namespace qsml
