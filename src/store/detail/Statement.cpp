#include "store/detail/Statement.h"

#include <sqlite3.h>

namespace qsml::detail {

Statement::~Statement() { finalize(); }

void Statement::finalize() {
    for (sqlite3_stmt* prepared : idle_) sqlite3_finalize(prepared);
    idle_.clear();
}

Query::Query(Statement& statement, sqlite3* handle) : statement_(statement) {
    if (!statement.idle_.empty()) {
        prepared_ = statement.idle_.back();
        statement.idle_.pop_back();
        return;
    }
    statement.idle_.reserve(statement.idle_.capacity() + 1);  // so that giving it back cannot fail
    code_ = sqlite3_prepare_v3(handle, statement.sql_, -1, SQLITE_PREPARE_PERSISTENT, &prepared_,
                               nullptr);
}

Query::~Query() {
    if (!prepared_) return;
    sqlite3_reset(prepared_);
    sqlite3_clear_bindings(prepared_);
    statement_.idle_.push_back(prepared_);
}

Query& Query::bind(int index, std::int64_t number) {
    if (ok()) code_ = sqlite3_bind_int64(prepared_, index, number);
    return *this;
}

Query& Query::bindText(int index, std::string_view text) {
    if (ok())
        code_ = sqlite3_bind_text64(prepared_, index, text.data() ? text.data() : "", text.size(),
                                    SQLITE_STATIC, SQLITE_UTF8);
    return *this;
}

Query& Query::bindBlob(int index, std::span<const std::uint8_t> bytes) {
    if (!ok()) return *this;
    if (bytes.empty())
        code_ = sqlite3_bind_zeroblob(prepared_, index, 0);
    else
        code_ = sqlite3_bind_blob64(prepared_, index, bytes.data(), bytes.size(), SQLITE_STATIC);
    return *this;
}

Query& Query::bindNull(int index) {
    if (ok()) code_ = sqlite3_bind_null(prepared_, index);
    return *this;
}

bool Query::row() {
    if (!ok()) return false;
    code_ = sqlite3_step(prepared_);
    return code_ == SQLITE_ROW;
}

bool Query::ok() const noexcept {
    return code_ == SQLITE_OK || code_ == SQLITE_ROW || code_ == SQLITE_DONE;
}

std::int64_t Query::number(int column) const { return sqlite3_column_int64(prepared_, column); }

std::string_view Query::text(int column) const {
    const auto* bytes = sqlite3_column_text(prepared_, column);
    if (!bytes) return {};
    return {reinterpret_cast<const char*>(bytes),
            static_cast<std::size_t>(sqlite3_column_bytes(prepared_, column))};
}

std::span<const std::uint8_t> Query::blob(int column) const {
    const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(prepared_, column));
    static constexpr std::uint8_t nothing = 0;
    if (!bytes) return {&nothing, 0};  // an empty blob has bytes too, only none
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(prepared_, column))};
}

bool Query::isNull(int column) const { return type(column) == SQLITE_NULL; }

int Query::type(int column) const { return sqlite3_column_type(prepared_, column); }

}  // namespace qsml::detail
