#include "foundation/Bundle.h"

#include <map>
#include <mutex>
#include <string>

namespace qsml {

namespace {

struct Information {
    std::mutex mutex;
    std::map<std::string, Value, std::less<>> values QSML_GUARDED_BY(mutex);
};

// Never destroyed: threads that outlive main() may still look.
Information& information() {
    static auto& shared = *new Information();
    return shared;
}

}  // namespace

Bundle& Bundle::main() {
    static Bundle bundle;
    return bundle;
}

Value Bundle::infoValue(std::string_view key) const {
    const std::lock_guard lock(information().mutex);
    const auto found = information().values.find(key);
    return found == information().values.end() ? Value() : found->second;
}

void Bundle::setInfoValue(std::string_view key, Value value) {
    const std::lock_guard lock(information().mutex);
    auto& values = information().values;
    const auto found = values.find(key);
    if (found == values.end()) {
        if (!value.isNil()) values.emplace(std::string(key), std::move(value));
    } else if (value.isNil()) {
        values.erase(found);
    } else {
        found->second = std::move(value);
    }
}

}  // namespace qsml
