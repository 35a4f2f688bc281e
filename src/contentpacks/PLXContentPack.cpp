#include "contentpacks/PLXContentPack.h"

#include <algorithm>

namespace qsml {

QSML_DEFINE_RECORD(PLXContentPack)

std::shared_ptr<PLXContentPack> PLXContentPack::userContentPackOfClass(
    const RecordClass& packClass) {
    auto pack = std::static_pointer_cast<PLXContentPack>(packClass.allocate()());
    pack->begin(UUID::random().UUIDString());
    pack->becomeUserContentPack();
    return pack;
}

void PLXContentPack::becomeUserContentPack() {
    setOwner(ownerUser);
    setState(stateInstalled);
}

void PLXContentPack::removeDependancyOnMediaItemUUID(const String& mediaItemUUID) {
    if (!mediaItemUUIDs() || !mediaItemUUIDs()->contains(mediaItemUUID)) return;
    std::vector<String> others = mediaItemUUIDs()->elements();
    std::erase(others, mediaItemUUID);
    setMediaItemUUIDs(OrderedSet<String>(std::move(others)));
}

std::string PLXContentPack::description() const {
    std::string text = "<";
    text.append(recordClass().name()).append(": ").append(uuid().value_or("(null)"));
    return text.append("> (").append(name().value_or("(null)")).append(")");
}

}  // namespace qsml
