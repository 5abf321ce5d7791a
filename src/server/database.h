// server/database.h: SQLite, as far as the catalogue needs it. One thread at a time per `Database`; whoever
// shares one locks. Values reach SQL as parameters only.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace morvane {

/// Thrown by everything here when the database cannot: locked for too long, the disk full, the file damaged.
/// The message is SQLite's. A transaction that was open is rolled back by its object.
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Database;

/// One run of a statement: rows in order. The statement is free for its next run when the object ends.
class Query {
  public:
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    /// The next row, and whether there was one. A statement that gives no rows needs one call.
    bool next();
    /// Values of the row, columns counted from 0. Another type reads as SQLite converts it.
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string text(int column) const;

  private:
    friend class Database;
    Query(Database& database, sqlite3_stmt* statement) : database_(database), statement_(statement) {}
    void bind(int place, std::int64_t value);
    void bind(int place, std::string_view value);

    Database& database_;
    sqlite3_stmt* statement_;
};

class Database {
  public:
    /// What a commit survives: the end of this process, or a loss of power as well (which waits for the
    /// disk).
    enum class Durability { process, power };

    /// Opens the file, which is made when missing, for many readers beside one writer. A lock that another
    /// connection holds is waited for as long as `patience`.
    Database(const std::string& path, Durability durability, std::chrono::milliseconds patience);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// The statement with "?1", "?2"... filled by the values (integers and texts). It is compiled once: `sql`
    /// must be a literal. It must not run twice at the same time.
    template <class... Values>
    [[nodiscard]] std::unique_ptr<Query> query(const char* sql, const Values&... values) {
        std::unique_ptr<Query> query(new Query(*this, compiled(sql)));
        int place = 0;
        (query->bind(++place, values), ...);
        return query;
    }
    /// Runs a statement that gives no rows.
    template <class... Values>
    void run(const char* sql, const Values&... values) {
        query(sql, values...)->next();
    }
    /// Statements without parameters, one after the other.
    void script(const char* sql);

  private:
    friend class Query;
    [[nodiscard]] sqlite3_stmt* compiled(const char* sql);
    void check(int code) const;

    sqlite3* handle_ = nullptr;
    std::map<std::string_view, sqlite3_stmt*> statements_;
};

/// All or nothing: rolled back unless committed. Waits for the one writer's place at its beginning.
class Transaction {
  public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

  private:
    Database& database_;
    bool open_ = true;
};

}  // namespace morvane
