#include "contentpacks/PLXContentPackMediaItem.h"

#include "contentpacks/detail/takePresentValue.h"
#include "foundation/text.h"

namespace qsml {

QSML_DEFINE_RECORD_WITHOUT_INIT(PLXContentPackMediaItem)

std::shared_ptr<PLXContentPackMediaItem> PLXContentPackMediaItem::init() {
    return initWithUUID(nullptr);
}

std::shared_ptr<PLXContentPackMediaItem> PLXContentPackMediaItem::initWithName(
    String name, String contentPackUUID) {
    auto item = init();
    item->setName(std::move(name));
    item->setContentPackUUID(std::move(contentPackUUID));
    item->setUuid(item->derivedUUID());
    return item;
}

String PLXContentPackMediaItem::derivedUUID() const {
    std::string joined(contentPackUUID().value_or("(null)"));
    return md5Hash(joined.append(name().value_or("(null)")));
}

std::shared_ptr<PLXContentPackMediaItem>
PLXContentPackMediaItem::mergedCopyWithContentPackMediaItem(
    const PLXContentPackMediaItem& other) const {
    auto merged = copy();
    for (const std::string_view key : {"fileName", "category", "contentPackUUID"})
        detail::takePresentValue(*merged, other, key);
    if (other.bpm() > 0) detail::takePresentValue(*merged, other, "bpm");
    return merged;
}

bool PLXContentPackMediaItem::initWithCoder(KeyedUnarchiver& coder) {
    if (!PLXCloudDatabaseObject::initWithCoder(coder)) return false;
    if (!uuid()) setUuid(derivedUUID());
    return true;
}

}  // namespace qsml
