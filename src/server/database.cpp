#include "server/database.h"

#include <sqlite3.h>

namespace morvane {
namespace {

/// Beyond this the log file is cut back once its contents have moved into the database.
constexpr const char* settings =
    "PRAGMA journal_mode=WAL; PRAGMA journal_size_limit=16777216; PRAGMA foreign_keys=ON;"
    "PRAGMA trusted_schema=OFF;";

}  // namespace

Query::~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

void Query::bind(int place, std::int64_t value) {
    database_.check(sqlite3_bind_int64(statement_, place, value));
}

void Query::bind(int place, std::string_view value) {
    database_.check(
        sqlite3_bind_text64(statement_, place, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

bool Query::next() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) database_.check(code);
    return false;
}

std::int64_t Query::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

double Query::real(int column) const {
    return sqlite3_column_double(statement_, column);
}

std::string Query::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const int size = sqlite3_column_bytes(statement_, column);
    return bytes == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(size));
}

Database::Database(const std::string& path, Durability durability, std::chrono::milliseconds patience) {
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    try {
        check(sqlite3_open_v2(path.c_str(), &handle_, flags, nullptr));
        sqlite3_extended_result_codes(handle_, 1);
        check(sqlite3_busy_timeout(handle_, static_cast<int>(patience.count())));
        script(settings);
        script(durability == Durability::power ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    } catch (...) {
        sqlite3_close_v2(handle_);
        throw;
    }
}

Database::~Database() {
    for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
    sqlite3_close_v2(handle_);
}

sqlite3_stmt* Database::compiled(const char* sql) {
    const auto found = statements_.find(sql);
    if (found != statements_.end()) return found->second;
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statements_.emplace(sql, statement);
    return statement;
}

void Database::script(const char* sql) {
    check(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr));
}

void Database::check(int code) const {
    if (code != SQLITE_OK)
        throw DatabaseError(handle_ == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(handle_));
}

Transaction::Transaction(Database& database) : database_(database) {
    database_.script("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (!open_) return;
    try {
        database_.script("ROLLBACK");
    } catch (const DatabaseError&) {
        // A full disk may have rolled it back already.
    }
}

void Transaction::commit() {
    database_.script("COMMIT");
    open_ = false;
}

}  // namespace morvane
