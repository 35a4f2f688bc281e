#include "core/PLXMediaEntity.h"

#include "foundation/text.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaEntity)

std::shared_ptr<PLXMediaEntity> PLXMediaEntity::initWithName(const String& name) {
    return named<PLXMediaEntity>(name);
}

String PLXMediaEntity::uuidForName(std::string_view name) { return md5Hash(name); }

}  // namespace qsml
