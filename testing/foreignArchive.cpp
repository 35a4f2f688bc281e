#include "testing/foreignArchive.h"

#include <plist/plist.h>

#include <stdexcept>
#include <string>

namespace qsml {
namespace {

class Writer {
public:
    Writer() { plist_array_append_item(objects_, plist_new_string("$null")); }

    std::vector<std::uint8_t> archive(const Dictionary& root) {
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, "root", reference(Value(root)));
        plist_t archive = plist_new_dict();
        plist_dict_set_item(archive, "$archiver", plist_new_string("NSKeyedArchiver"));
        plist_dict_set_item(archive, "$version", plist_new_uint(100000));
        plist_dict_set_item(archive, "$top", top);
        plist_dict_set_item(archive, "$objects", objects_);
        char* bytes = nullptr;
        std::uint32_t size = 0;
        plist_to_bin(archive, &bytes, &size);
        std::vector<std::uint8_t> copied(bytes, bytes + size);
        plist_to_bin_free(bytes);
        plist_free(archive);
        return copied;
    }

private:
    using Kind = Value::Kind;

    /// What stands directly under a key of an object.
    plist_t inlineValue(const Value& value) {
        return value.isNumber() ? scalar(value) : reference(value);
    }

    plist_t reference(const Value& value) {
        if (value.kind() == Kind::dictionary && value.dictionary().contains("$nil"))
            return plist_new_uid(0);
        const std::uint32_t index = plist_array_get_size(objects_);
        plist_array_append_item(objects_, plist_new_string("reserved"));
        plist_array_set_item(objects_, object(value), index);
        return plist_new_uid(index);
    }

    static plist_t scalar(const Value& value) {
        if (value.kind() == Kind::boolean) return plist_new_bool(value.boolValue());
        if (value.kind() == Kind::real32 || value.kind() == Kind::real64)
            return plist_new_real(value.realValue());
        if (value.integerValue() < 0) throw std::invalid_argument("a negative whole number");
        return plist_new_uint(value.unsignedValue());
    }

    plist_t object(const Value& value) {
        if (value.isNumber()) return scalar(value);
        switch (value.kind()) {
            case Kind::string:
                return plist_new_string(value.string().str().c_str());
            case Kind::data:
                return plist_new_data(reinterpret_cast<const char*>(value.data()->bytes().data()),
                                      value.data()->size());
            case Kind::null:
                return ofClass(Value("NSNull"));
            case Kind::date:
                return withKey("NSDate", "NS.time",
                               plist_new_real(value.date()->secondsSinceReferenceDate));
            case Kind::url:
                return url(value.url()->absoluteString());
            case Kind::array:
                return withKey("NSArray", "NS.objects", references(value));
            case Kind::set:
                return withKey("NSSet", "NS.objects", references(value));
            case Kind::orderedSet:
                return orderedSet(value);
            case Kind::dictionary:
                return objectOf(value.dictionary());
            default:
                throw std::invalid_argument("a kind that no archive holds");
        }
    }

    plist_t references(const Value& collection) {
        plist_t list = plist_new_array();
        for (const Value& element : collection.elements())
            plist_array_append_item(list, reference(element));
        return list;
    }

    plist_t orderedSet(const Value& set) {
        plist_t made = ofClass(Value("NSOrderedSet"));
        std::size_t index = 0;
        for (const Value& element : set.elements())
            plist_dict_set_item(made, ("NS.object." + std::to_string(index++)).c_str(),
                                reference(element));
        return made;
    }

    plist_t url(const String& text) {
        plist_t made = withKey("NSURL", "NS.base", plist_new_uid(0));
        plist_dict_set_item(made, "NS.relative", reference(Value(text)));
        return made;
    }

    plist_t objectOf(const Dictionary& keys) {
        if (keys.contains("$boxed")) return scalar(keys["$boxed"]);
        plist_t made = ofClass(keys["$class"]);
        for (const auto& [key, value] : keys)
            if (key != Value("$class"))
                plist_dict_set_item(made, key.string().str().c_str(), inlineValue(value));
        return made;
    }

    plist_t withKey(const char* className, const char* key, plist_t value) {
        plist_t made = ofClass(Value(className));
        plist_dict_set_item(made, key, value);
        return made;
    }

    plist_t ofClass(const Value& chain) {
        plist_t names = plist_new_array();
        const auto append = [&](const Value& name) {
            plist_array_append_item(names, plist_new_string(name.string().str().c_str()));
        };
        if (chain.kind() == Kind::string) append(chain);
        for (const Value& name : chain.elements()) append(name);
        append(Value("NSObject"));
        plist_t description = plist_new_dict();
        plist_dict_set_item(description, "$classname", plist_copy(plist_array_get_item(names, 0)));
        plist_dict_set_item(description, "$classes", names);
        const std::uint32_t index = plist_array_get_size(objects_);
        plist_array_append_item(objects_, description);
        plist_t made = plist_new_dict();
        plist_dict_set_item(made, "$class", plist_new_uid(index));
        return made;
    }

    plist_t objects_ = plist_new_array();
};

}  // namespace

std::vector<std::uint8_t> foreignArchive(const Dictionary& root) { return Writer().archive(root); }

}  // namespace qsml
