#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "store/YapDatabaseExtension.h"

namespace qsml {

struct YapDatabaseRelationshipOptions {
    /// Whose objects are asked for edges; nothing means all. Any row may be a destination.
    std::optional<std::set<std::string, std::less<>>> allowedCollections;
    /// How often one commit goes round telling objects of the edges that answers to the round
    /// before have taken away. More are objects that answer each other for ever: the commit fails.
    std::uint64_t noticeRounds = 1'000'000;
};

/// The graph of edges between rows, and what becomes of a row when another goes.
///
/// Protocol edges are what stored objects declare (YapDatabaseRelationshipNode); the list of the
/// object written last replaces the one before. Manual edges are added and removed by hand through
/// YapDatabaseRelationshipTransaction, which transaction.ext() gives. The two never mix.
///
/// An edge whose destination does not exist is kept and has no effect until that row appears. So is
/// a protocol edge whose destination was removed, for as long as its source declares it; after
/// every commit the protocol edges are what the rows declare. A row that does not decode keeps the
/// edges it had. Registering again with another version tag or other options reads the edges of all
/// rows anew, without carrying out rules, and keeps manual edges whose source exists.
///
/// Thread-safe as extensions are: it has no state of its own.
class QSML_EXPORT YapDatabaseRelationship final : public YapDatabaseExtension {
public:
    using Options = YapDatabaseRelationshipOptions;

    explicit YapDatabaseRelationship(std::string versionTag = "", Options options = {});
    ~YapDatabaseRelationship() override;

    const Options& options() const noexcept { return options_; }

    std::string kind() const override { return "YapDatabaseRelationship"; }
    std::int64_t formatVersion() const override { return 1; }
    std::string configuration() const override;
    bool holdsOnlyDerivedData() const override { return false; }  // manual edges

    bool createTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool dropTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool fill(YapDatabaseExtensionContext& context, Error* error) override;
    bool rebuild(YapDatabaseExtensionContext& context, Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;
    bool check(YapDatabaseExtensionContext& context,
               const std::function<void(std::string_view collection, std::string_view key,
                                        std::string_view description)>& fault,
               Error* error) override;

private:
    Options options_;
};

}  // namespace qsml
