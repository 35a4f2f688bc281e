#include "store/detail/StatementRun.h"

#include <sqlite3.h>

#include <cmath>

#include "store/YapDatabaseOptions.h"
#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

namespace {

constexpr std::string_view realType = "REAL";

bool isReal(const Value& value) noexcept {
    return value.kind() == Value::Kind::real32 || value.kind() == Value::Kind::real64;
}

int bindReal(sqlite3_stmt* statement, int index, double number) {
    return sqlite3_bind_double(statement, index, number);  // NaN becomes NULL
}

int bindNumber(sqlite3_stmt* statement, int index, const Value& value, std::string_view type) {
    const bool isLarge =
        value.kind() == Value::Kind::unsignedInteger && value.unsignedValue() > INT64_MAX;
    // A column of reals would round a large integer and then never compare equal to it.
    if (isReal(value) || isLarge || type == realType)
        return bindReal(statement, index, value.realValue());
    return sqlite3_bind_int64(statement, index, value.integerValue());
}

/// Copies a text that is made for the occasion.
int bindMade(sqlite3_stmt* statement, int index, const String& text) {
    return sqlite3_bind_text64(statement, index, text.c_str(), text.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
}

int bindData(sqlite3_stmt* statement, int index, const Data& data) {
    const auto bytes = data.bytes();
    return bytes.empty() ? sqlite3_bind_zeroblob(statement, index, 0)
                         : sqlite3_bind_blob64(statement, index, bytes.data(), bytes.size(),
                                               SQLITE_TRANSIENT);
}

}  // namespace

Error failureOf(sqlite3* handle, std::string_view action) {
    const char* path = sqlite3_db_filename(handle, "main");
    return fileError(sqlite3_extended_errcode(handle), path ? path : "", action,
                     sqlite3_errmsg(handle));
}

Error extensionFailure(std::string description) {
    return {.domain = std::string(YapDatabaseErrorDomain),
            .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
            .description = std::move(description)};
}

bool isColumnValue(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::string:
        case Value::Kind::date:
        case Value::Kind::data:
        case Value::Kind::url:
        case Value::Kind::uuid:
            return true;
        default:
            return value.isNumber() && !(isReal(value) && std::isnan(value.realValue()));
    }
}

StatementRun::StatementRun(StatementCache& cache, const std::string& sql)
    : StatementRun(cache, cache.statement(sql)) {}

StatementRun::StatementRun(StatementCache& cache, sqlite3_stmt* statement)
    : cache_(cache), statement_(statement) {
    if (!statement_) code_ = sqlite3_extended_errcode(cache.handle());
}

StatementRun::~StatementRun() {
    if (!statement_) return;
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

StatementRun& StatementRun::bind(int index, std::int64_t number) {
    if (ok()) code_ = sqlite3_bind_int64(statement_, index, number);
    return *this;
}

StatementRun& StatementRun::bindText(int index, std::string_view text) {
    if (ok())
        code_ = sqlite3_bind_text64(statement_, index, text.data() ? text.data() : "", text.size(),
                                    SQLITE_STATIC, SQLITE_UTF8);
    return *this;
}

StatementRun& StatementRun::bindBlob(int index, std::string_view bytes) {
    if (ok())
        code_ = sqlite3_bind_blob64(statement_, index, bytes.empty() ? "" : bytes.data(),
                                    bytes.size(), SQLITE_STATIC);
    return *this;
}

StatementRun& StatementRun::bindValue(int index, const Value& value, std::string_view type) {
    if (!ok()) return *this;
    switch (value.kind()) {
        case Value::Kind::string:
            return bindText(index, value.string());  // the value keeps the bytes
        case Value::Kind::url:
            code_ = bindMade(statement_, index, value.url()->absoluteString());
            break;
        case Value::Kind::uuid:
            code_ = bindMade(statement_, index, value.uuid()->UUIDString());
            break;
        case Value::Kind::data:
            code_ = bindData(statement_, index, *value.data());
            break;
        case Value::Kind::date:
            code_ = bindReal(statement_, index, value.date()->secondsSinceReferenceDate);
            break;
        default:
            code_ = value.isNumber() ? bindNumber(statement_, index, value, type)
                                     : sqlite3_bind_null(statement_, index);
    }
    return *this;
}

bool StatementRun::row() {
    if (!ok()) return false;
    code_ = sqlite3_step(statement_);
    return code_ == SQLITE_ROW;
}

bool StatementRun::run() {
    while (row()) {
    }
    return ok();
}

bool StatementRun::ok() const noexcept {
    return code_ == SQLITE_OK || code_ == SQLITE_ROW || code_ == SQLITE_DONE;
}

Error StatementRun::failure(std::string_view action) const {
    return ok() ? Error() : failureOf(cache_.handle(), action);
}

std::int64_t StatementRun::number(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string_view StatementRun::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    if (!bytes) return "";
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

bool StatementRun::isText(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_TEXT;
}

Value StatementRun::value(int column) const {
    switch (sqlite3_column_type(statement_, column)) {
        case SQLITE_INTEGER:
            return number(column);
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement_, column);
        case SQLITE_TEXT:
            return text(column);
        case SQLITE_BLOB: {
            const std::string_view bytes = text(column);
            return Data({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
        }
        default:
            return {};
    }
}

}  // namespace qsml::detail
