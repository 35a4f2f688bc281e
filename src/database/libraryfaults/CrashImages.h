#pragma once
#include <map>
#include <string>

#include "testing/FileTrace.h"
#include "testing/MemoryFiles.h"

namespace qsml {

/// What SQLite alone finds in an image, once it has recovered what the log or the journal holds.
struct ImageFacts {
    std::size_t content = 0;     ///< a digest of every page
    std::uint64_t snapshot = 0;  ///< of the newest commit
    std::string rows = {};       ///< see rowsOf()
    std::string fault = {};      ///< empty when the file is sound
};

/// Reads images. Two of the same content are one to it, so that it can read very many. Confined to
/// one thread.
class CrashImages {
public:
    const ImageFacts& read(const FileImage& image);
    /// Images of different content so far.
    std::size_t numberOfContents() const { return known_.size(); }

    /// A digest of the rows of the library at that path, with the checksums of their bytes.
    static std::string rowsOf(const std::string& path);

private:
    MemoryFiles files_;
    std::map<std::size_t, ImageFacts> known_;
};

}  // namespace qsml
