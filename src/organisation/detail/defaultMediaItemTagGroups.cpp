#include "organisation/detail/defaultMediaItemTagGroups.h"

#include "foundation/Bundle.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "organisation/PLXMediaItemTagGroup.h"

namespace qsml::detail {
namespace {

constexpr std::string_view method = "-[PLXMediaItemTagGroupSource setupGroups]";

/// The elements of the file's root.
Value::Array elementsOfFile(const std::string& path) {
    Error error;
    const Value root = propertyListOfFile(path, &error);
    if (root.kind() == Value::Kind::array) return root.elements();
    log(method, __LINE__,
        "No default tag groups: " +
            (error ? error.description : "there is no array in \"" + path + "\""));
    return {};
}

/// The texts among the elements.
OrderedSet<String> texts(const Value& array) {
    std::vector<String> found;
    for (const Value& element : array.elements())
        if (String text = element.string()) found.push_back(std::move(text));
    return OrderedSet<String>(std::move(found));
}

}  // namespace

std::vector<std::shared_ptr<PLXMediaItemTagGroup>> defaultMediaItemTagGroups() {
    std::vector<std::shared_ptr<PLXMediaItemTagGroup>> groups;
    const auto file = Bundle::library().URLForResource("DefaultMediaItemTagGroups", "plist");
    if (!file) return groups;
    for (const Value& element : elementsOfFile(file->path())) {
        const Dictionary& entry = element.dictionary();
        String uuid = entry["uuid"].string();
        if (!uuid) continue;
        groups.push_back(PLXMediaItemTagGroup::initWithUUID(std::move(uuid)));
        groups.back()->setName(entry["name"].string());
        groups.back()->setTags(texts(entry["tags"]));
    }
    return groups;
}

}  // namespace qsml::detail
