#include "organisation/PLXMediaItemTag.h"

#include "foundation/text.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaItemTag)

std::shared_ptr<PLXMediaItemTag> PLXMediaItemTag::initWithValue(String value) {
    auto made = initWithUUID(value ? md5Hash(*value) : String());
    made->setValue(std::move(value));
    return made;
}

}  // namespace qsml
