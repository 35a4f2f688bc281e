#include "store/views/YapDatabaseViewInMemory.h"

#include "store/views/detail/ChildViewTransaction.h"

namespace qsml {

YapDatabaseViewInMemory::YapDatabaseViewInMemory(std::vector<std::string> parents,
                                                 std::string versionTag)
    : YapDatabaseExtension(std::move(versionTag)), parents_(std::move(parents)) {}

YapDatabaseViewInMemory::~YapDatabaseViewInMemory() = default;

const std::set<std::string, std::less<>>* YapDatabaseViewInMemory::allowedCollections() const {
    return detail::noCollections();
}

}  // namespace qsml
