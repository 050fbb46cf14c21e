// Rows in SQLite, each written in a transaction of its own with the pragmas of the store behind user defaults, and
// nothing else.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kova::benchmarks {

class BareStore {
public:
    explicit BareStore(const std::filesystem::path& file);
    ~BareStore();
    BareStore(const BareStore&) = delete;
    BareStore& operator=(const BareStore&) = delete;

    /// Appends a row to a list.
    void insert(std::string_view bytes);
    void removeFirst();

    /// Writes the one row that stands for a whole value.
    void replace(std::string_view bytes);

private:
    void execute(const char* sql);
    sqlite3_stmt* prepare(const char* sql);
    void run(sqlite3_stmt* statement);

    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_insert = nullptr;
    sqlite3_stmt* m_remove = nullptr;
    sqlite3_stmt* m_replace = nullptr;
    std::int64_t m_first = 0;
    std::int64_t m_end = 0;
};

} // namespace kova::benchmarks
