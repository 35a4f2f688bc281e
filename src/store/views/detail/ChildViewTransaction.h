#pragma once
#include <memory>
#include <optional>
#include <string>

#include "store/YapDatabaseException.h"
#include "store/detail/StatementRun.h"
#include "store/views/detail/ChildViewState.h"
#include "store/views/detail/ChildViewWork.h"
#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/announced.h"

namespace qsml::detail {

/// No row concerns a view that follows its parents alone.
const std::set<std::string, std::less<>>* noCollections();
std::optional<YapDatabaseViewPlace> placeInMemory(const ViewState& state, bool isShared,
                                                  std::int64_t rowid, ViewNodeSource& nodes);
/// Tells where two views differ.
void compareInMemory(YapDatabaseExtensionContext& context, const ViewState& is,
                     const ViewState& wanted,
                     const std::function<void(std::string_view collection, std::string_view key,
                                              std::string_view description)>& fault);

/// What views on views have in common in one transaction. `Face` is the kind of transaction that
/// callers see; `Rule` is what chooses the rows.
template <class Face, class Rule>
class ChildViewTransaction : public Face {
public:
    using State = ChildViewState<Rule>;

    /// A new rule; all rows are asked anew.
    void replaceRule(Rule rule) {
        if (!this->context().readWriteTransaction())
            throw YapDatabaseException("A view can be changed in a read-write transaction only.");
        rule_ = std::move(rule);
        hasNewRule_ = true;
        ++newRules_;
    }
    /// The content of a view that nobody has seen yet.
    std::shared_ptr<const State> filled() {
        hasNewRule_ = true;
        ++newRules_;
        apply();
        return std::make_shared<State>(rule_, work_->newState());
    }

    bool flush(Error* error) override {
        try {
            apply();
            return hasRead(this->context(), error);
        } catch (const ViewFailure& failure) {
            report(error, extensionFailure(failure.what()));
            return false;
        }
    }
    bool hasOwnChanges() const override { return hasNewRule_; }
    std::shared_ptr<const YapDatabaseExtensionChanges> changes() override {
        return work_ ? announced(work_->changes()) : nullptr;
    }
    std::shared_ptr<const YapDatabaseExtensionState> newState() override {
        if (!work_ && !hasNewRule_) return base_;
        return std::make_shared<State>(rule_, work_ ? work_->newState() : base_->rows);
    }

    std::shared_ptr<const YapDatabaseExtensionState> keptState() override {
        return work_ ? nullptr : base_->rows;
    }
    const ViewState& state() override {
        apply();
        return work_ ? work_->state() : *base_->rows;
    }
    ViewNodeSource& source() override { return nodes_; }
    const std::vector<YapDatabaseViewOperation>& rowChanges() override {
        static const std::vector<YapDatabaseViewOperation> none;
        apply();
        return work_ ? work_->changes() : none;
    }
    std::uint64_t changeNumber() override {
        return newRules_ + (this->context().readWriteTransaction() ? numberOfChanges() : 0);
    }
    std::optional<YapDatabaseViewPlace> placeOfRow(std::int64_t rowid) override {
        return placeInMemory(state(), !work_, rowid, nodes_);
    }
    bool findsPlacesQuickly() const override { return false; }

protected:
    ChildViewTransaction(YapDatabaseExtensionContext& context, std::string parentName,
                         std::shared_ptr<const State> base)
        : Face(context),
          parentName_(std::move(parentName)),
          base_(std::move(base)),
          rule_(base_->rule) {}

    const Rule& rule() const noexcept { return rule_; }
    YapDatabaseViewTransaction& parent() {
        if (!parent_) parent_ = extension<YapDatabaseViewTransaction>(parentName_);
        return *parent_;
    }
    template <class T>
    T* extension(const std::string& name) {
        auto* found = this->context().transaction().template ext<T>(name);
        if (!found) throw ViewFailure("The extension \"" + name + "\" is missing.");
        return found;
    }

    /// Grows with everything that the content follows.
    virtual std::uint64_t numberOfChanges() { return parent().changeNumber(); }
    virtual void applyWhole(ChildViewWork& work) = 0;
    virtual void applyChanges(ChildViewWork& work) = 0;

private:
    void apply() {
        if (!hasNewRule_ && !this->context().readWriteTransaction()) return;
        const std::uint64_t number = changeNumber();
        if (number == applied_) return;
        if (!work_) work_.emplace(this->context(), base_->rows);
        if (hasNewRule_)
            applyWhole(*work_);
        else
            applyChanges(*work_);
        applied_ = number;
    }

    std::string parentName_;
    std::shared_ptr<const State> base_;
    Rule rule_;
    bool hasNewRule_ = false;
    std::uint64_t newRules_ = 0;
    std::uint64_t applied_ = 0;
    YapDatabaseViewTransaction* parent_ = nullptr;
    NoNodeSource nodes_;
    std::optional<ChildViewWork> work_;
};

/// Makes a view in memory by the rule; null, with the error, where it cannot be.
template <class Transaction, class View, class Rule>
std::shared_ptr<const YapDatabaseExtensionState> filledView(const View& view,
                                                            YapDatabaseExtensionContext& context,
                                                            Rule rule, Error* error) {
    using State = ChildViewState<Rule>;
    try {
        const auto empty = std::make_shared<const State>(std::move(rule), State::noRows());
        return Transaction(view, context, empty).filled();
    } catch (const ViewFailure& failure) {
        report(error, extensionFailure(failure.what()));
        return nullptr;
    }
}

/// Compares what is in memory with what the rule chooses.
template <class Transaction, class Rule, class View, class Fault>
bool checkInMemory(const View& view, YapDatabaseExtensionContext& context, const Fault& fault,
                   Error* error) {
    using State = ChildViewState<Rule>;
    const auto is = std::static_pointer_cast<const State>(context.state());
    if (!is) return true;
    const auto wanted = filledView<Transaction>(view, context, is->rule, error);
    if (!wanted) return false;
    compareInMemory(context, *is->rows, *static_cast<const State&>(*wanted).rows, fault);
    return true;
}

}  // namespace qsml::detail
