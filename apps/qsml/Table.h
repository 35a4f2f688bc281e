#pragma once
#include <string>
#include <vector>

namespace qsml::app {

/// Writes rows of texts under each other on standard output. The first rows are held back to find
/// how wide the columns must be; texts that are wider are cut with an ellipsis. Confined to one
/// thread.
class Table {
public:
    struct Column {
        std::string title;
        std::size_t widest;
        bool isRightAligned = false;
    };
    /// One text for each column.
    using Row = std::vector<std::string>;

    /// Writes the titles above the first row.
    explicit Table(std::vector<Column> columns);
    ~Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    void add(Row row);
    /// Writes what is held back.
    void finish();

private:
    void write(const Row& row) const;

    std::vector<Column> columns_;
    std::vector<Row> heldBack_;
    std::vector<std::size_t> widths_;
    bool isWriting_ = false;
};

}  // namespace qsml::app
