#pragma once
#include <memory>
#include <string_view>

namespace qsml {
class PLXDatabaseManager;
class YapDatabaseExtension;
}  // namespace qsml

namespace qsml::detail {

/// Registers an extension on the manager's database. A failure is logged with its cause and leaves
/// the extension absent.
void registerExtension(PLXDatabaseManager& manager, std::shared_ptr<YapDatabaseExtension> extension,
                       std::string_view name);

}  // namespace qsml::detail
