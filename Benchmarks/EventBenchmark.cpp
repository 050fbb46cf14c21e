// What saving an event offline costs, beside the parts that it cannot do without, each measured bare in the same run.
//
// Contract: the configuration is read afresh for every event, and an event is on its way to the disk when save()
// returns. So the bound is one read and parse of the configuration, one row in a transaction of its own, and one line
// of log. The network's flags come from a service that answers at once and costs nothing. Everything is measured in
// turn, round by round, so that a busy machine slows all of it; the table shows medians.

#include "KovaSDK/Events/EventModels/CartEvent.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Linux/LinuxPlatform.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <vector>

namespace {

using namespace kova;

/// A network that is never there.
class Offline final : public NetworkReachability {
    class Target final : public SCNetworkReachability {
        bool setCallback(SCNetworkReachabilityCallBack, SCNetworkReachabilityContext) override { return true; }
        bool setDispatchQueue(std::shared_ptr<DispatchQueue>) override { return true; }
        std::optional<SCNetworkReachabilityFlags> flags() override { return 0; }
    };

    std::shared_ptr<SCNetworkReachability> createWithName(const std::string&) override
    {
        return std::make_shared<Target>();
    }
};

int logFile = -1;

void writeLog(std::string_view line)
{
    if (write(logFile, line.data(), line.size()) < 0)
        std::abort();
}

/// One row in a transaction of its own, with the store's pragmas, and nothing else.
class BareRow {
public:
    explicit BareRow(const std::filesystem::path& file)
    {
        sqlite3_open(file.c_str(), &m_database);
        execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; CREATE TABLE element (list INTEGER, position "
                "INTEGER, "
                "kind INTEGER, value BLOB, PRIMARY KEY (list, position)) WITHOUT ROWID");
        sqlite3_prepare_v2(m_database, "INSERT INTO element VALUES (1, ?1, 0, ?2)", -1, &m_insert, nullptr);
    }
    ~BareRow()
    {
        sqlite3_finalize(m_insert);
        sqlite3_close(m_database);
    }
    BareRow(const BareRow&) = delete;
    BareRow& operator=(const BareRow&) = delete;

    void insert(std::string_view bytes)
    {
        sqlite3_bind_int64(m_insert, 1, ++m_position);
        sqlite3_bind_blob(m_insert, 2, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
        if (sqlite3_step(m_insert) != SQLITE_DONE)
            std::abort();
        sqlite3_reset(m_insert);
    }

private:
    void execute(const char* sql) { sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr); }

    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_insert = nullptr;
    std::int64_t m_position = 0;
};

class Series {
public:
    template <typename Call> void measure(Call call)
    {
        const auto begin = std::chrono::steady_clock::now();
        call();
        m_microseconds.push_back(
            std::chrono::duration<double, std::micro> {std::chrono::steady_clock::now() - begin}.count());
    }
    [[nodiscard]] double quantile(double part)
    {
        const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(m_microseconds.size() - 1));
        std::ranges::nth_element(m_microseconds, m_microseconds.begin() + index);
        return m_microseconds[static_cast<std::size_t>(index)];
    }

private:
    std::vector<double> m_microseconds;
};

Value::Array bodies(int count)
{
    Value::Array list;
    for (int number = 0; number < count; ++number)
        list.append(Data {std::string(280, 'x') + std::to_string(number)});
    return list;
}

} // namespace

int main()
{
    logFile = open("/dev/null", O_WRONLY | O_CLOEXEC);
    setPrintSink(&writeLog);
    std::string pattern = std::filesystem::temp_directory_path() / "kova-benchmark-XXXXXX";
    const std::filesystem::path folder = mkdtemp(pattern.data());
    const auto configuration = PropertyListEncoder::encode(
        Value::Dictionary {{"KovaAudienceID", "audience"}, {"KovaNotificationID", "app"}, {"KovaAPIKey", "key"}});
    std::ofstream {folder / "Kova.plist"} << configuration->text();

    std::cout << std::fixed << std::setprecision(1) << "offline save(), microseconds (medians)\n"
              << "buffered   config      row     line    bound   save()  save() p99    ratio\n";
    {
        LinuxPlatform platform {{.bundleIdentifier = "example.benchmark",
            .bundleFolder = folder,
            .dataFolder = folder / "data",
            .reachability = std::make_shared<Offline>()}};
        KovaNetwork::setReachability(Reachability::create("host.example"));
        CartEvent event {EventType::cartAddProduct};
        event.start("pão de queijo, café e uma fatia de bolo de fubá");
        event.addAttribute("campaign", "inverno, dois por um em pães e cafés");
        const auto body = *event.toJSON();
        for (const int buffered : {0, 1'000, 10'000}) {
            BareRow row {folder / ("bare-" + std::to_string(buffered))};
            Series config;
            Series insert;
            Series line;
            Series save;
            for (int round = 0; round < 2'000; ++round) {
                // The buffer has this length for every measured save.
                if (round % 100 == 0)
                    EventStorage {}.setBuffer(bodies(buffered));
                config.measure([&] {
                    if (!PropertyListDecoder::decode(Data::contentsOf(folder / "Kova.plist", 1 << 20)->text()))
                        std::abort();
                });
                insert.measure([&] { row.insert(body.text()); });
                line.measure([] { writeLog("Event Save: Send data to buffer array\n"); });
                save.measure([&] { event.save(); });
            }
            const auto bound = config.quantile(0.5) + insert.quantile(0.5) + line.quantile(0.5);
            std::cout << std::setw(8) << buffered << std::setw(9) << config.quantile(0.5) << std::setw(9)
                      << insert.quantile(0.5) << std::setw(9) << line.quantile(0.5) << std::setw(9) << bound
                      << std::setw(9) << save.quantile(0.5) << std::setw(12) << save.quantile(0.99) << std::setw(9)
                      << std::setprecision(2) << save.quantile(0.5) / bound << std::setprecision(1) << "   ("
                      << body.size() << " bytes)\n";
        }
        KovaNetwork::setReachability(nullptr);
    }
    std::filesystem::remove_all(folder);
    return 0;
}
