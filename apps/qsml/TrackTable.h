#pragma once
#include <array>
#include <string>
#include <vector>

namespace qsml::app {

/// Writes rows of texts under each other on standard output. The first rows are held back to find
/// how wide the columns must be; texts that are wider are cut with an ellipsis. Confined to one
/// thread.
class TrackTable {
public:
    static constexpr std::size_t columns = 6;
    using Row = std::array<std::string, columns>;

    /// Writes the head line above the first row.
    explicit TrackTable(Row head);
    ~TrackTable();
    TrackTable(const TrackTable&) = delete;
    TrackTable& operator=(const TrackTable&) = delete;

    void add(Row row);
    /// Writes what is held back.
    void finish();

private:
    void write(const Row& row) const;

    std::vector<Row> heldBack_;
    std::array<std::size_t, columns> widths_{};
    bool isWriting_ = false;
};

}  // namespace qsml::app
