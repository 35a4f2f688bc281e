#pragma once
#include <set>
#include <string>
#include <vector>

#include "store/YapDatabaseExtension.h"

namespace qsml {

/// What views on a parent view have in common: they follow their parents, not the rows, and nothing
/// of them is in the file.
class QSML_EXPORT YapDatabaseViewInMemory : public YapDatabaseExtension {
public:
    ~YapDatabaseViewInMemory() override;

    const std::string& parentViewName() const noexcept { return parents_.back(); }

    std::int64_t formatVersion() const final { return 1; }
    bool isPersistent() const final { return false; }
    std::vector<std::string> parents() const final { return parents_; }
    /// None.
    const std::set<std::string, std::less<>>* allowedCollections() const final;

    bool createTables(YapDatabaseExtensionContext&, Error*) final { return true; }
    bool dropTables(YapDatabaseExtensionContext&, Error*) final { return true; }
    bool fill(YapDatabaseExtensionContext&, Error*) final { return true; }

protected:
    /// The parent view comes last.
    YapDatabaseViewInMemory(std::vector<std::string> parents, std::string versionTag);
    const std::string& firstParentName() const noexcept { return parents_.front(); }

private:
    std::vector<std::string> parents_;
};

}  // namespace qsml
