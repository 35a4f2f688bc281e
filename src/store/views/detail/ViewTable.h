#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "store/detail/StatementRun.h"
#include "store/views/detail/ViewState.h"

namespace qsml::detail {

/// Where a row stands, as it is stored: the group and what it is sorted by there.
struct StoredPlace {
    std::int64_t group = 0;
    std::string key;
};

/// The tables of a view: groups, nodes of their trees, and the place of each row. Confined to a
/// transaction. What answers false fills the error; reads throw ViewFailure.
class ViewTable final : public ViewNodeSource {
public:
    explicit ViewTable(YapDatabaseExtensionContext& context);

    bool create(Error* error);
    bool drop(Error* error);

    /// Groups and counters; no node is read.
    std::shared_ptr<ViewState> loadState();
    std::string nodeData(std::int64_t id) override;
    std::optional<StoredPlace> place(std::int64_t rowid);
    void enumeratePlaces(const std::function<void(std::int64_t rowid, StoredPlace place)>& block);
    void enumerateNodeIds(const std::function<void(std::int64_t id)>& block);

    bool writeGroup(const ViewGroup& group, Error* error);
    bool removeGroup(std::int64_t id, Error* error);
    bool writeNode(std::int64_t id, std::string_view data, Error* error);
    bool removeNode(std::int64_t id, Error* error);
    bool writePlace(std::int64_t rowid, std::int64_t group, std::string_view key, Error* error);
    bool removePlace(std::int64_t rowid, Error* error);

private:
    bool execute(const std::string& sql, Error* error);
    static bool finish(StatementRun& run, Error* error);
    static void require(const StatementRun& run);

    struct Texts;
    static std::shared_ptr<const Texts> texts(YapDatabaseExtensionContext& context);

    YapDatabaseExtensionContext& context_;
    StatementCache& statements_;
    std::shared_ptr<const Texts> texts_;  // kept for the connection
};

}  // namespace qsml::detail
