#include "contentpacks/PLXProduct.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXProduct, .storesOriginalCloudValues = true)

std::shared_ptr<PLXProduct> PLXProduct::initWithProductID(String productID, String deviceType) {
    std::string uuid(productID.value_or("(null)"));
    uuid.append("-").append(deviceType.value_or("(null)"));
    auto product = initWithUUID(uuid);
    product->setProductID(std::move(productID));
    product->setDeviceType(std::move(deviceType));
    return product;
}

}  // namespace qsml
