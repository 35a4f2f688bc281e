#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// A named thing that tracks refer to: an artist, an album, a genre or a label. Its UUID is the
/// digest of its name exactly as given, so one name is one record, and names that differ in case
/// are two. Threads as for PLXDatabaseObject.
class QSML_EXPORT PLXMediaEntity : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaEntity, PLXCloudDatabaseObject)

    /// Null for a nil name.
    static std::shared_ptr<PLXMediaEntity> initWithName(const String& name);

    QSML_PROPERTY(String, name, setName)
    QSML_RECORD_END()

protected:
    template <class Entity>
    static std::shared_ptr<Entity> named(const String& name) {
        if (!name) return nullptr;
        auto made = Entity::initWithUUID(uuidForName(name));
        made->setName(name);
        return made;
    }

private:
    static String uuidForName(std::string_view name);
};

}  // namespace qsml
