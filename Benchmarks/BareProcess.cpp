// The least that a process with an HTTP client and a store can be: it opens curl and SQLite, and ends.
//
// process-benchmark runs it beside minimal-host and reads what both print: how many microseconds opening took, and how
// many KiB are resident then.

#include "Benchmarks/Support/ResidentMemory.h"

#include <curl/curl.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>

int main(int argumentCount, char** arguments)
{
    const auto begin = std::chrono::steady_clock::now();
    if (argumentCount != 2 || curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return 1;
    CURLM* const multi = curl_multi_init();
    sqlite3* database = nullptr;
    const bool isOpen = multi && sqlite3_open(arguments[1], &database) == SQLITE_OK
        && sqlite3_exec(database,
               "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; "
               "CREATE TABLE IF NOT EXISTS entry (key TEXT NOT NULL UNIQUE, value BLOB NOT NULL)",
               nullptr, nullptr, nullptr)
            == SQLITE_OK;
    const std::chrono::duration<double, std::micro> opening = std::chrono::steady_clock::now() - begin;
    std::printf("%.1f %.0f\n", opening.count(), kova::benchmarks::residentKiB());
    sqlite3_close(database);
    curl_multi_cleanup(multi);
    return isOpen ? 0 : 1;
}
