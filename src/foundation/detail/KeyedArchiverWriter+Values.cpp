#include "foundation/Dictionary.h"
#include "foundation/detail/KeyedArchiverWriter.h"

namespace qsml {

using detail::PlatformClass;
using Index = detail::PropertyListWriter::Index;

namespace {

PlatformClass kindOf(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::array:
            return PlatformClass::array;
        case Value::Kind::set:
            return PlatformClass::set;
        case Value::Kind::orderedSet:
            return PlatformClass::orderedSet;
        case Value::Kind::dictionary:
            return PlatformClass::dictionary;
        default:
            return PlatformClass::none;
    }
}

}  // namespace

Index KeyedArchiver::Writer::reference(const String& text, std::string_view key) {
    const auto [known, isNew] = texts_(text.identity(), text.size());
    // The text of a temporary may lie where an earlier one lay.
    if (!isNew && list_.isString(known->index, *text)) return list_.uid(known->uid);
    if (!fits(2 * text.size(), key)) return nil_;
    const auto index = list_.string(*text);
    if (!index) {
        fail("is a text that is not valid UTF-8", key);
        return nil_;
    }
    *known = {newUID(*index, key), *index};
    return list_.uid(known->uid);
}

Index KeyedArchiver::Writer::reference(Date date, std::string_view key) {
    const Index instance = list_.reserve();
    const Index reference = newReference(instance, key);
    const std::size_t first = pairs_.size();
    pairs_.emplace_back(rawText("NS.time"), list_.real(date.secondsSinceReferenceDate));
    endInstance(instance, first, archiveClassOf(PlatformClass::date));
    return reference;
}

Index KeyedArchiver::Writer::reference(const Data& data, std::string_view key) {
    return fits(data.size(), key) ? newReference(list_.data(data.bytes()), key) : nil_;
}

Index KeyedArchiver::Writer::reference(const URL& url, std::string_view key) {
    const Level level(*this, key);
    if (failed_) return nil_;
    const Index instance = list_.reserve();
    const Index made = newReference(instance, key);
    const std::size_t first = pairs_.size();
    const Index base = url.baseURL() ? reference(*url.baseURL(), "NS.base") : nil_;
    pairs_.emplace_back(rawText("NS.base"), base);
    pairs_.emplace_back(rawText("NS.relative"), reference(url.relativeString(), "NS.relative"));
    endInstance(instance, first, archiveClassOf(PlatformClass::url));
    return made;
}

Index KeyedArchiver::Writer::reference(const UUID& uuid, std::string_view key) {
    const Index instance = list_.reserve();
    const Index reference = newReference(instance, key);
    const std::size_t first = pairs_.size();
    pairs_.emplace_back(rawText("NS.uuidbytes"), list_.data(uuid.bytes));
    endInstance(instance, first, archiveClassOf(PlatformClass::uuid));
    return reference;
}

Index KeyedArchiver::Writer::reference(const Object& object, std::string_view key) {
    const auto [known, isNew] = nodes_(&object, 0);
    if (!isNew) {
        meet(*known, key);
        return list_.uid(known->uid);
    }
    const Index instance = list_.reserve();
    const std::uint32_t uid = newUID(instance, key);
    *known = {uid, 0};
    const Level level(*this, key);
    if (failed_) return nil_;
    const std::size_t first = pairs_.size();
    object.encodeWithCoder(archiver_);
    if (failed_) return nil_;
    endInstance(instance, first, object.archiveClass());
    nodes_(&object, 0).first->height = level.height();
    return list_.uid(uid);
}

Index KeyedArchiver::Writer::reference(const Value& value, std::string_view key) {
    switch (value.kind()) {
        case Value::Kind::nil:
            return nil_;
        case Value::Kind::string:
            return reference(value.string(), key);
        case Value::Kind::date:
            return reference(*value.date(), key);
        case Value::Kind::data:
            return reference(*value.data(), key);
        case Value::Kind::url:
            return reference(*value.url(), key);
        case Value::Kind::uuid:
            return reference(*value.uuid(), key);
        case Value::Kind::object:
            kept_.push_back(value);
            return reference(*value.object(), key);
        case Value::Kind::null: {
            const Index instance = list_.reserve();
            const Index reference = newReference(instance, key);
            endInstance(instance, pairs_.size(), archiveClassOf(PlatformClass::null));
            return reference;
        }
        case Value::Kind::array:
        case Value::Kind::set:
        case Value::Kind::orderedSet:
        case Value::Kind::dictionary:
            return collection(value, kindOf(value), key);
        default:
            return number(value, key);
    }
}

Index KeyedArchiver::Writer::number(const Value& value, std::string_view key) {
    switch (value.kind()) {
        case Value::Kind::boolean:
            return newReference(boolean(value.boolValue()), key);
        case Value::Kind::integer:
            return newReference(integer(value.integerValue()), key);
        case Value::Kind::unsignedInteger:
            return newReference(list_.unsignedInteger(value.unsignedValue()), key);
        case Value::Kind::real32:
            return newReference(list_.real(value.floatValue()), key);
        default:
            return newReference(list_.real(value.realValue()), key);
    }
}

Index KeyedArchiver::Writer::collection(const Value& value, PlatformClass kind,
                                        std::string_view key) {
    const void* address = kind == PlatformClass::dictionary
                              ? static_cast<const void*>(&value.dictionary())
                              : static_cast<const void*>(&value.elements());
    const auto tag = static_cast<std::uint64_t>(kind);
    const auto [known, isNew] = nodes_(address, tag);
    if (!isNew) {
        if (known->height == 0) fail("is a collection that contains itself", key);
        meet(*known, key);
        return list_.uid(known->uid);
    }
    const Index instance = list_.reserve();
    const std::uint32_t uid = newUID(instance, key);
    *known = {uid, 0};
    kept_.push_back(value);
    const Level level(*this, key);
    if (failed_) return nil_;
    const std::size_t first = pairs_.size();
    addContent(value, kind);
    if (failed_) return nil_;
    endInstance(instance, first, archiveClassOf(kind));
    nodes_(address, tag).first->height = level.height();
    return list_.uid(uid);
}

template <class Elements, class ReferenceOf>
void KeyedArchiver::Writer::pushReferences(const Elements& elements, ReferenceOf&& referenceOf) {
    for (const auto& element : elements) {
        if (failed_) return;
        const Index made = referenceOf(element);
        if (made == nil_) fail("is a collection that holds nil", "NS.objects");
        references_.push_back(made);
    }
}

void KeyedArchiver::Writer::addContent(const Value& value, PlatformClass kind) {
    const std::size_t first = references_.size();
    if (kind == PlatformClass::dictionary) {
        pushReferences(value.dictionary(),
                       [this](const auto& pair) { return reference(pair.first, "NS.keys"); });
        addArray("NS.keys", first);
        pushReferences(value.dictionary(),
                       [this](const auto& pair) { return reference(pair.second, "NS.objects"); });
        addArray("NS.objects", first);
    } else {
        pushReferences(value.elements(),
                       [this](const Value& element) { return reference(element, "NS.objects"); });
        if (kind == PlatformClass::orderedSet) {
            addNumbered(first);
        } else {
            addArray("NS.objects", first);
        }
    }
}

/// Takes the references from the stack and adds them as one array.
void KeyedArchiver::Writer::addArray(std::string_view key, std::size_t firstReference) {
    const Index array = list_.reserve();
    list_.fillArray(array, std::span(references_).subspan(firstReference));
    references_.resize(firstReference);
    pairs_.emplace_back(rawText(key), array);
}

/// Takes the references from the stack and adds each under a key with its number.
void KeyedArchiver::Writer::addNumbered(std::size_t firstReference) {
    for (std::size_t i = firstReference; i < references_.size(); ++i)
        pairs_.emplace_back(numberedKey(i - firstReference), references_[i]);
    references_.resize(firstReference);
}

Index KeyedArchiver::Writer::reference(const OrderedSet<String>& texts, PlatformClass kind,
                                       std::string_view key) {
    const Level level(*this, key);
    if (failed_) return nil_;
    const Index instance = list_.reserve();
    const Index made = newReference(instance, key);
    const std::size_t firstPair = pairs_.size(), first = references_.size();
    pushReferences(texts,
                   [this, key](const String& text) { return text ? reference(text, key) : nil_; });
    if (kind == PlatformClass::set) {
        addArray("NS.objects", first);
    } else {
        addNumbered(first);
    }
    endInstance(instance, firstPair, archiveClassOf(kind));
    return made;
}

}  // namespace qsml
