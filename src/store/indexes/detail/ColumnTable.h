#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/detail/StatementRun.h"

namespace qsml::detail {

/// A column as the table declares it. The name is data; the type is a word of SQL, or empty.
struct TableColumn {
    std::string name;
    std::string_view type = {};
};

/// The table of an index: row id and columns of every row that has some. Confined to its
/// connection, where it may stay for the next transaction. What answers false fills the error.
class ColumnTable {
public:
    using Values = std::vector<Value>;
    using Fault = std::function<void(std::string_view description)>;

    ColumnTable(YapDatabaseExtensionContext& context, std::string_view suffix,
                std::vector<TableColumn> columns);
    virtual ~ColumnTable();
    ColumnTable(const ColumnTable&) = delete;
    ColumnTable& operator=(const ColumnTable&) = delete;

    /// Quoted.
    const std::string& name() const noexcept { return name_; }
    StatementCache& statements() noexcept { return statements_; }

    virtual bool create(Error* error);
    virtual bool drop(Error* error);
    /// After all rows are in.
    virtual bool finishFilling(YapDatabaseExtensionContext&, Error*) { return true; }
    /// Makes the values those that can be stored.
    virtual void normalize(Values& values) const;

    enum class Stored { absent, equal, different, unreadable };
    Stored compare(std::int64_t rowid, const Values& values, Error* error);
    virtual bool insert(std::int64_t rowid, const Values& values, Error* error);
    virtual bool replace(std::int64_t rowid, const Values& values, Error* error);
    virtual bool remove(std::int64_t rowid, bool* wasThere, Error* error);
    /// Ascending.
    bool enumerateRowids(const std::function<void(std::int64_t)>& block, Error* error);
    /// Reports whatever else than the columns is wrong.
    virtual bool verify(YapDatabaseExtensionContext&, const Fault&, Error*) { return true; }

protected:
    sqlite3* handle() const noexcept { return handle_; }
    const std::vector<TableColumn>& columns() const noexcept { return columns_; }
    /// A text for each column, with the separator between them.
    std::string joined(std::string_view separator,
                       const std::function<std::string(std::size_t index)>& text) const;
    /// The row id is the first parameter, the values are the next.
    StatementRun& bindRow(StatementRun& run, std::int64_t rowid, const Values& values) const;
    bool execute(const std::string& sql, Error* error);
    static bool finish(StatementRun& run, Error* error);

private:
    sqlite3* handle_;
    StatementCache& statements_;
    std::string name_;
    std::vector<TableColumn> columns_;
    std::string compareText_, insertText_, replaceText_, removeText_;
};

}  // namespace qsml::detail
