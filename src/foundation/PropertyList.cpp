#include "foundation/PropertyList.h"

#include <plist/plist.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

namespace qsml {
namespace {

constexpr std::size_t largestFile = std::size_t{16} << 20;
constexpr int deepest = 512;

Value valueOf(plist_t node, int depth);

String textOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text ? String(std::string_view(text, length)) : String();
}

Value arrayOf(plist_t node, int depth) {
    Value::Array elements;
    const std::uint32_t count = plist_array_get_size(node);
    elements.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i)
        elements.push_back(valueOf(plist_array_get_item(node, i), depth + 1));
    return Value(std::move(elements));
}

Value dictionaryOf(plist_t node, int depth) {
    Dictionary members;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, decltype(&std::free)> owned(iterator, std::free);
    for (;;) {
        char* key = nullptr;
        plist_t member = nullptr;
        plist_dict_next_item(node, iterator, &key, &member);
        const std::unique_ptr<char, decltype(&std::free)> name(key, std::free);
        if (!member) return Value(members);
        if (name) members.set(String(name.get()), valueOf(member, depth + 1));
    }
}

Value wholeOf(plist_t node) {
    std::uint64_t number = 0;
    plist_get_uint_val(node, &number);
    return Value(static_cast<std::int64_t>(number));
}

Value realOf(plist_t node) {
    double number = 0;
    plist_get_real_val(node, &number);
    return Value(number);
}

Value dateOf(plist_t node) {
    std::int32_t seconds = 0, microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return Value(Date{seconds + microseconds / 1e6});
}

Value dataOf(plist_t node) {
    std::uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(node, &length);
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes);
    return Value(Data(std::span<const std::uint8_t>(first, length)));
}

Value valueOf(plist_t node, int depth) {
    if (depth > deepest) return {};
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            return Value(flag != 0);
        }
        case PLIST_UINT:
            return wholeOf(node);
        case PLIST_REAL:
            return realOf(node);
        case PLIST_STRING:
            return Value(textOf(node));
        case PLIST_DATE:
            return dateOf(node);
        case PLIST_DATA:
            return dataOf(node);
        case PLIST_ARRAY:
            return arrayOf(node, depth);
        case PLIST_DICT:
            return dictionaryOf(node, depth);
        default:
            return {};
    }
}

std::optional<std::string> contentOf(const std::string& path, std::string& cause) {
    std::ifstream file(path, std::ios::binary);
    std::string content;
    if (file) {
        content.resize(largestFile + 1);
        file.read(content.data(), static_cast<std::streamsize>(content.size()));
        content.resize(static_cast<std::size_t>(file.gcount()));
    }
    if (!file.is_open() || file.bad()) {
        cause = std::strerror(errno);
    } else if (content.size() > largestFile) {
        cause = "it is larger than 16 MB";
    } else {
        return content;
    }
    return std::nullopt;
}

}  // namespace

Value propertyListOfFile(const std::string& path, Error* error) {
    std::string cause;
    const auto content = contentOf(path, cause);
    plist_t root = nullptr;
    if (content) {
        plist_from_memory(content->data(), static_cast<std::uint32_t>(content->size()), &root);
        if (!root) cause = "it is no property list";
    }
    if (!root) {
        report(error, {"PropertyListErrorDomain", 1, "cannot read " + path + ": " + cause});
        return {};
    }
    const std::unique_ptr<void, decltype(&plist_free)> owned(root, plist_free);
    return valueOf(root, 0);
}

}  // namespace qsml
