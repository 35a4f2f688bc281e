#include "core/PLXMediaLabel.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaLabel)

std::shared_ptr<PLXMediaLabel> PLXMediaLabel::initWithName(const String& name) {
    return named<PLXMediaLabel>(name);
}

}  // namespace qsml
