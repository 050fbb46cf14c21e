// One row in a transaction of its own, with the pragmas of the store behind user defaults, and nothing else.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kova::benchmarks {

class BareRow {
public:
    explicit BareRow(const std::filesystem::path& file);
    ~BareRow();
    BareRow(const BareRow&) = delete;
    BareRow& operator=(const BareRow&) = delete;

    void insert(std::string_view bytes);
    void removeFirst();

private:
    void execute(const char* sql);
    sqlite3_stmt* prepare(const char* sql);
    void run(sqlite3_stmt* statement);

    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_insert = nullptr;
    sqlite3_stmt* m_remove = nullptr;
    std::int64_t m_first = 0;
    std::int64_t m_end = 0;
};

} // namespace kova::benchmarks
