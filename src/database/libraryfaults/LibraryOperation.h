#pragma once
#include <functional>
#include <string>
#include <vector>

#include "database/libraryfaults/LibraryAtWork.h"

namespace qsml {

/// A public operation on a library of sampleTracks tracks with their lists.
struct LibraryOperation {
    std::string name;
    /// Makes what the operation needs, so that only the library's own calls and allocations fail in
    /// it. What comes back does the work and answers what it claims: true for done.
    std::function<std::function<bool()>(LibraryAtWork& library)> prepare;
    bool writes = true;
    /// The work has a block of its own, what leaves which reaches the caller.
    bool hasBlock = false;

    static constexpr int sampleTracks = 24;
    /// Fills a new library.
    static void makeSample(LibraryAtWork& library);
};

const std::vector<LibraryOperation>& libraryOperations();

}  // namespace qsml
