#include "tracks/PLXMediaItemAnalyzedData.h"

#include "foundation/text.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaItemAnalyzedData)

std::shared_ptr<PLXMediaItemAnalyzedData> PLXMediaItemAnalyzedData::initWithTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    auto made = initWithUUID(titleID ? titleID->internalID() : String());
    made->setKeySignatureIndex(-1);
    return made;
}

std::shared_ptr<PLXMediaItemAnalyzedData> PLXMediaItemAnalyzedData::initWithTitleID(
    const std::shared_ptr<PLXMediaItemTitleID>& titleID) {
    if (titleID) (void)titleID->internalID();
    return initWithTitleID(std::shared_ptr<const PLXMediaItemTitleID>(titleID));
}

std::int64_t PLXMediaItemAnalyzedData::roundedBPM() const { return roundedHalfAwayFromZero(bpm()); }

}  // namespace qsml
