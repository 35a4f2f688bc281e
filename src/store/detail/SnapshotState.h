#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabaseExtension.h"

namespace qsml::detail {

struct RegisteredExtension {
    RegisteredExtension(std::string itsName, std::shared_ptr<YapDatabaseExtension> made)
        : name(std::move(itsName)), extension(std::move(made)) {
        if (extension) parents = extension->parents();
    }

    std::string name;
    std::shared_ptr<YapDatabaseExtension> extension;
    std::vector<std::string> parents;  ///< of the extension, at hand for each commit
};

/// The extensions of one snapshot, in order of registration, with what they keep of it. Immutable
/// once it is shared: a connection on the snapshot holds one pointer.
struct SnapshotState {
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    std::vector<std::shared_ptr<const RegisteredExtension>> extensions;
    std::vector<std::shared_ptr<const YapDatabaseExtensionState>> states;  // one for each extension

    std::size_t indexOf(std::string_view name) const {
        for (std::size_t i = 0; i < extensions.size(); ++i)
            if (extensions[i]->name == name) return i;
        return npos;
    }
    void add(std::shared_ptr<const RegisteredExtension> extension,
             std::shared_ptr<const YapDatabaseExtensionState> state) {
        extensions.push_back(std::move(extension));
        states.push_back(std::move(state));
    }
    void remove(std::size_t index) {
        extensions.erase(extensions.begin() + static_cast<std::ptrdiff_t>(index));
        states.erase(states.begin() + static_cast<std::ptrdiff_t>(index));
    }
};
using SnapshotStatePointer = std::shared_ptr<const SnapshotState>;

}  // namespace qsml::detail
