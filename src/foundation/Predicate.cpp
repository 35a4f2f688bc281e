#include "foundation/Predicate.h"

#include <algorithm>
#include <utility>

namespace qsml {
namespace {

class BlockPredicate final : public Predicate {
public:
    explicit BlockPredicate(std::function<bool(const Object&)> block) : block_(std::move(block)) {}
    bool evaluate(const Object& object) const override { return block_(object); }

private:
    std::function<bool(const Object&)> block_;
};

Value valueForKey(const Value& value, std::string_view key, KeyReader reader);

Value valuesOfElements(const Value& collection, std::string_view key, KeyReader reader) {
    if (key == "@count") return Value(static_cast<std::int64_t>(collection.elements().size()));
    const bool isSet = collection.kind() == Value::Kind::set;
    std::vector<Value> values;
    values.reserve(collection.elements().size());
    for (const Value& element : collection.elements()) {
        Value value = valueForKey(element, key, reader);
        if (!value.isNil())
            values.push_back(std::move(value));
        else if (!isSet)
            values.emplace_back(Null());
    }
    if (isSet) return Value(ValueSet(std::move(values)));
    if (collection.kind() == Value::Kind::orderedSet)
        return Value(OrderedSet<Value>(std::move(values)));
    return Value(std::move(values));
}

// Collections within collections nest as deep as an archive does, which is bounded.
Value valueForKey(const Value& value, std::string_view key, KeyReader reader) {
    if (value.isCollection()) return valuesOfElements(value, key, reader);
    if (value.kind() == Value::Kind::dictionary) return value.dictionary()[Value(key)];
    return value.kind() == Value::Kind::object ? reader(*value.object(), key) : Value();
}

}  // namespace

Predicate::~Predicate() = default;

std::shared_ptr<const Predicate> predicateWithBlock(
    std::function<bool(const Object& object)> block) {
    if (!block) return nullptr;
    return std::make_shared<const BlockPredicate>(std::move(block));
}

Value valueForKeyPath(const Object& object, std::string_view keyPath, KeyReader reader) {
    std::size_t end = std::min(keyPath.find('.'), keyPath.size());
    Value reached = reader(object, keyPath.substr(0, end));
    while (end < keyPath.size()) {
        const std::size_t begin = end + 1;
        end = std::min(keyPath.find('.', begin), keyPath.size());
        reached = valueForKey(reached, keyPath.substr(begin, end - begin), reader);
    }
    return reached;
}

}  // namespace qsml
