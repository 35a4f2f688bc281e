#include "core/Boxing.h"

namespace qsml {

std::optional<OrderedSet<String>> textsOfCollection(const Value& value) {
    if (!value.isCollection()) return std::nullopt;
    std::vector<String> texts;
    texts.reserve(value.elements().size());
    for (const Value& element : value.elements()) {
        if (element.kind() != Value::Kind::string) return std::nullopt;
        texts.push_back(element.string());
    }
    return OrderedSet<String>(std::move(texts));
}

}  // namespace qsml
