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

std::optional<OrderedSet<String>> decodeTexts(KeyedUnarchiver& coder, std::string_view key,
                                              ArchiveForm form) {
    if (form == ArchiveForm::natural) return coder.decodeStrings(key);
    const Value value = coder.decodeValue(key);
    if (!accepts(form, value.kind())) return std::nullopt;
    std::vector<String> texts;
    for (const Value& element : value.elements())
        if (element.kind() == Value::Kind::string) texts.push_back(element.string());
    return OrderedSet<String>(std::move(texts));
}

}  // namespace qsml
