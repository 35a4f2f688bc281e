#include "contentpacks/PLXContentPack.h"
#include "contentpacks/detail/takePresentValue.h"

namespace qsml {
namespace {

struct CatalogueField {
    std::string_view key;
    std::optional<int> unknown = {};  // the number that stands for "not said"
};

constexpr CatalogueField catalogueFields[] = {{"name"},
                                              {"summary"},
                                              {"artist"},
                                              {"genre"},
                                              {"duration", 0},
                                              {"bpm", 0},
                                              {"keySignatureIndex", -1},
                                              {"previewURL"},
                                              {"imageURL"},
                                              {"fileSize", 0},
                                              {"featured"},
                                              {"sortOrder"},
                                              {"automaticallyInstall"},
                                              {"mediaItemUUIDs"},
                                              {"referencedContentPackUUIDs"}};

}  // namespace

void PLXContentPack::takeCatalogueFields(const PLXContentPack& other) {
    for (const auto& [key, unknown] : catalogueFields)
        detail::takePresentValue(*this, other, key, unknown);
}

}  // namespace qsml
