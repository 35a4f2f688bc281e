#pragma once
#include <memory>

namespace qsml::detail {

/// Lets the record macros make instances in one allocation while constructors stay out of reach.
class RecordKey {
public:
    template <class Record, class... Source>
    static std::shared_ptr<Record> make(const Source&... source) {
        return std::make_shared<Record>(RecordKey(), source...);
    }

private:
    RecordKey() = default;
};

}  // namespace qsml::detail
