#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// When, how often and in which version a product was used on one type of device. Confined to one
/// thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXProduct final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXProduct, PLXCloudDatabaseObject)

    /// Keyed by both, so there is one record for each product and type of device.
    static std::shared_ptr<PLXProduct> initWithProductID(String productID, String deviceType);

    QSML_PROPERTY(String, productID, setProductID)
    QSML_PROPERTY(String, deviceType, setDeviceType)
    /// Of the application.
    QSML_PROPERTY(String, version, setVersion)
    QSML_PROPERTY(String, deviceOSVersion, setDeviceOSVersion)
    QSML_PROPERTY(std::optional<Date>, firstUseDate, setFirstUseDate)
    QSML_PROPERTY(std::optional<Date>, lastUseDate, setLastUseDate)
    QSML_PROPERTY(std::int64_t, useCount, setUseCount)
    QSML_RECORD_END()
};

}  // namespace qsml
