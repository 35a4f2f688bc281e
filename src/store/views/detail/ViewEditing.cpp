#include "store/views/detail/ViewEditing.h"

#include <atomic>

namespace qsml::detail {

namespace {

std::uint64_t newToken() {
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

ViewEditing::ViewEditing(std::shared_ptr<const ViewState> base, ViewNodeSource& source,
                         Storage storage)
    : base_(std::move(base)),
      edit_{source, newToken(), storage == Storage::stored ? base_->nextNode : 0, {}},
      storage_(storage) {}

std::shared_ptr<const ViewState> ViewEditing::newState() const {
    if (!made_) return base_;
    made_->nextNode = edit_.nextId;
    return made_;
}

void ViewEditing::put(const String& group, ViewTree tree) {
    if (!made_) made_ = std::make_shared<ViewState>(*base_);
    changedGroups_.insert(group);
    const ViewGroup* known = made_->group(group);
    if (!known) known = base_->group(group);  // it was empty meanwhile: rows that return find it
    std::int64_t id = known ? known->id : 0;
    if (!known && storage_ == Storage::stored) id = made_->nextGroup++;
    made_->put(std::make_shared<ViewGroup>(ViewGroup{id, group, std::move(tree)}));
}

}  // namespace qsml::detail
