// What kova-host doctor finds, with configurations, stores and web services that are really broken.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Libraries/SQLiteDatabase.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/NetworkNamespace.h"
#include "Tests/Support/OpenSSLServer.h"
#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Findings {
    std::optional<ProcessEnd> end;
    std::string report;
    std::string errors;
};

/// An application's folders and services, all well at first but for what the machine's network is like.
class Patient {
public:
    Patient()
    {
        fs::create_directory(bundle);
        fs::copy_file(KOVA_RESOURCES_DIR "/Kova.plist", plist);
        UserDefaultsSQLite store {{.folder = folder}};
        store.setObject(
            NotificationStorage::key, *PropertyListEncoder::encode(Value::Array {Value::Dictionary {{"read", true}}}));
        store.setObject("kova_buffer", Value {Value::Array {Data {"{}"}, Data {"{}"}}});
    }

    [[nodiscard]] Findings examine(const std::vector<std::string>& more = {}) const
    {
        const auto base = services.empty() ? server.url("").absoluteString() : services;
        Process::Options process {.executable = fs::path {KOVA_BIN_DIR} / "kova-host"};
        process.arguments
            = {"doctor", "--data", data, "--bundle", bundle, "--identifier", "example.shop", "--events-url",
                base + "/v2/", "--metrics-url", base + "/v2/", "--geotriggers-url", base + "/v1/geotriggers/"};
        process.arguments.insert(process.arguments.end(), more.begin(), more.end());
        Process doctor {process};
        const auto end = doctor.wait();
        return {end, doctor.standardOutput(), doctor.standardError()};
    }

    TemporaryFolder temporary;
    fs::path bundle = temporary.path() / "bundle";
    fs::path plist = bundle / "Kova.plist";
    fs::path data = temporary.path() / "data";
    fs::path folder = data / "example.shop";
    fs::path database = folder / "defaults.sqlite";
    LoopbackServer server;
    /// Other web services than the server.
    std::string services {};
};

// Every file beneath a folder, with its time, its rights and its content.
std::map<std::string, std::string> contents(const fs::path& folder)
{
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator {folder}) {
        // A folder has nothing to read.
        std::ifstream stream {entry.is_directory() ? fs::path {"/dev/null"} : entry.path(), std::ios::binary};
        all[entry.path()] = std::to_string(fs::last_write_time(entry).time_since_epoch().count()) + " "
            + std::to_string(static_cast<unsigned>(entry.status().permissions())) + " "
            + std::string {std::istreambuf_iterator<char> {stream}, {}};
    }
    return all;
}

TEST(DoctorTest, SaysThatAllIsFineAndChangesNothing)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const NetworkNamespace network;
    network.connect();
    const Patient patient;
    const auto before = contents(patient.temporary.path());
    const auto findings = patient.examine();
    EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 0}) << findings.report << findings.errors;
    EXPECT_EQ(findings.errors, "");
    EXPECT_THAT(findings.report,
        AllOf(HasSubstr("Everything is fine."), Not(HasSubstr("WRONG")), HasSubstr("KovaAPIKey is set"),
            HasSubstr("the database is whole"), HasSubstr("the inbox has 1 record\n"), HasSubstr("2 events wait"),
            HasSubstr("nobody holds the store"), HasSubstr("the SDK says \"wifi\""),
            HasSubstr("it answers with status 200")));
    EXPECT_EQ(contents(patient.temporary.path()), before);
    ASSERT_EQ(patient.server.requests().size(), 3U);
    for (const auto& request : patient.server.requests())
        EXPECT_EQ(request.method, "HEAD");
}

TEST(DoctorTest, SaysWhyTheNetworkIsUnreachable)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const NetworkNamespace network;
    Patient patient;
    patient.services = "http://no-such-host.invalid";
    const auto findings = patient.examine({"--timeout", "2"});
    EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 1});
    EXPECT_THAT(findings.report,
        AllOf(HasSubstr("the SDK says \"unreachable\""), HasSubstr("what is sent there is not encrypted")));
}

struct Complaint {
    const char* what;
    std::function<void(const Patient&)> make;
    const char* finding;
};

void check(const std::vector<Complaint>& rows)
{
    for (const auto& [what, make, finding] : rows) {
        SCOPED_TRACE(what);
        const Patient patient;
        make(patient);
        const auto findings = patient.examine();
        EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 1}) << findings.errors;
        EXPECT_THAT(findings.report, HasSubstr(std::string {"  WRONG  "} + finding));
    }
}

TEST(DoctorTest, FindsWhatIsWrongWithTheConfiguration)
{
    const auto holding = [](const std::string& text) {
        return [text](const Patient& patient) {
            std::ofstream {patient.plist, std::ios::binary | std::ios::trunc} << text;
        };
    };
    const auto having = [&](const std::string& entries) {
        return holding("<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    };
    check({
        {"no folder", [](const Patient& patient) { fs::remove_all(patient.bundle); }, "there is no such folder"},
        {"no file", [](const Patient& patient) { fs::remove(patient.plist); }, "there is no such file"},
        {"a folder in its place",
            [](const Patient& patient) {
                fs::remove(patient.plist);
                fs::create_directory(patient.plist);
            },
            "it is no regular file"},
        {"no property list", holding("{}"), "The bytes are not a valid property list"},
        {"too large", holding(std::string(17 << 20, ' ')), "it is larger than 16 MiB"},
        {"a list", holding("<plist><array/></plist>"), "it is a property list, but no dictionary"},
        {"a number", having("<key>KovaNotificationID</key><integer>5</integer>"), "KovaNotificationID is no text"},
        {"an empty text", having("<key>KovaAudienceID</key><string/>"), "KovaAudienceID is empty"},
        {"a text over several lines", having("<key>KovaAPIKey</key><string>\n  key\n</string>"),
            "KovaAPIKey has a line break"},
        {"a blank at the end", having("<key>KovaGeolocationID</key><string>token </string>"),
            "KovaGeolocationID has a line break, a control or an invisible character in it, or a blank at an end"},
        {"a character that cannot be seen", having("<key>KovaAPIKey</key><string>k\u200Bey</string>"),
            "KovaAPIKey has a line break, a control or an invisible character"},
        {"no such key", having(""), "KovaAPIKey is missing"},
    });
}

TEST(DoctorTest, FindsWhatIsWrongWithTheStore)
{
    const auto executing = [](const char* sql) {
        return
            [sql](const Patient& patient) { SQLiteDatabase {patient.database, std::chrono::seconds {5}}.execute(sql); };
    };
    const auto permitting = [](fs::path Patient::* path, unsigned mode) {
        return [path, mode](const Patient& patient) { fs::permissions(patient.*path, fs::perms {mode}); };
    };
    const auto replacing = [](fs::path Patient::* path) {
        return [path](const Patient& patient) {
            fs::remove_all(patient.*path);
            std::ofstream {patient.*path} << std::string(5000, 'x');
        };
    };
    check({
        {"an open folder", permitting(&Patient::folder, 0755), "other users may look into example.shop (0755)"},
        {"an open file", permitting(&Patient::database, 0644), "other users may look into defaults.sqlite (0644)"},
        {"a file in the folder's place", replacing(&Patient::folder), "the place of the application's folder is taken"},
        {"a file in the place of the data folder", replacing(&Patient::data), "the folder cannot be looked into"},
        {"no database", replacing(&Patient::database), "the database is damaged: file is not a database"},
        {"half a database",
            [](const Patient& patient) { fs::resize_file(patient.database, fs::file_size(patient.database) / 2); },
            "the database is damaged"},
        {"a newer database", executing("PRAGMA user_version = 2"), "the database was written by a newer version"},
        {"an inbox that is none", executing("UPDATE entry SET value = x'00' WHERE key = 'kova_notification'"),
            "the inbox cannot be decoded"},
        {"a buffer that is none", executing("UPDATE element SET kind = 1"), "the buffered events cannot be read"},
    });
}

// What the doctor says of the store.
std::string storeSection(const std::string& report)
{
    const auto begin = report.find("\nStore: ");
    return report.substr(begin, report.find("\nNetwork: ") - begin);
}

TEST(DoctorTest, FindsNoFaultWithAStoreThatTheSDKHasYetToMake)
{
    const auto inPlaceOfDatabase = [](const char* sql) {
        return [sql](const Patient& patient) {
            fs::remove(patient.database);
            SQLiteDatabase {patient.database, std::chrono::seconds {5}}.execute(sql);
            fs::permissions(patient.database, fs::perms {0600});
        };
    };
    struct Row {
        const char* what;
        std::function<void(const Patient&)> make;
        std::vector<std::string> options;
        const char* finding;
    };
    const Row rows[] {
        {"no folder", [](const Patient& patient) { fs::remove_all(patient.data); }, {}, "there is none yet"},
        {"no folder, of a relative name", [](const Patient&) {}, {"--data", "no-such-folder/deep"},
            "there is none yet"},
        {"an empty file", inPlaceOfDatabase(""), {}, "it has no tables of the SDK yet"},
        {"somebody else's tables", inPlaceOfDatabase("CREATE TABLE other (id)"), {}, "it has no tables of the SDK yet"},
    };
    for (const auto& [what, make, options, finding] : rows) {
        SCOPED_TRACE(what);
        const Patient patient;
        make(patient);
        EXPECT_THAT(storeSection(patient.examine(options).report), AllOf(HasSubstr(finding), Not(HasSubstr("WRONG"))));
    }
}

TEST(DoctorTest, FindsThatAStoreCannotBeMade)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const Patient patient;
    fs::remove_all(patient.folder);
    fs::create_symlink("nowhere", patient.folder);
    EXPECT_THAT(storeSection(patient.examine().report), HasSubstr("/example.shop is a link that leads nowhere"));
    ASSERT_EQ(std::system(("mount -t tmpfs -o size=600k small " + patient.data.string()).c_str()), 0);
    EXPECT_THAT(storeSection(patient.examine().report), HasSubstr("only 0 MiB are free"));
    ASSERT_EQ(std::system(("umount --lazy " + patient.data.string()).c_str()), 0);
}

TEST(DoctorTest, NamesWhoHoldsTheStore)
{
    const Patient patient;
    SQLiteDatabase database {patient.database, std::chrono::seconds {5}};
    database.beginWriting();
    const FileDescriptor opening {open((patient.folder / "defaults.lock").c_str(), O_RDWR | O_CLOEXEC), "open"};
    ASSERT_EQ(flock(opening.get(), LOCK_EX), 0);
    const auto findings = patient.examine();
    EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 1});
    EXPECT_THAT(findings.report,
        AllOf(HasSubstr("the process " + std::to_string(getpid()) + " holds the database for writing"),
            HasSubstr("another process has been opening the store"), HasSubstr("the inbox has 1 record")));
}

TEST(DoctorTest, FindsWhatIsWrongWithTheWebServices)
{
    struct Row {
        const char* what;
        Reply reply;
        const char* finding;
    };
    const Row rows[] {
        {"an error of the service", Reply::status(500), "it answers with status 500"},
        {"a redirect", Reply::status(301, "", {{"Location", "https://elsewhere.example/v2/"}}),
            "a redirect, which posts"},
        {"no HTTP", Reply::raw("220 mail.example ESMTP\r\n"), "The server's reply is not valid HTTP"},
        {"a reset", Reply::reset(), "The connection was lost"},
        {"a clock that is behind", Reply::status(200, "", {{"Date", "Fri, 31 Dec 2100 12:00:00 GMT"}}),
            "seconds behind"},
        {"a clock that is ahead", Reply::status(200, "", {{"Date", "Sat, 01 Jan 2000 12:00:00 GMT"}}), "seconds ahead"},
    };
    for (const auto& [what, reply, finding] : rows) {
        SCOPED_TRACE(what);
        Patient patient;
        patient.server.setDefault(reply);
        const auto findings = patient.examine();
        EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 1}) << findings.errors;
        EXPECT_THAT(findings.report, HasSubstr(finding));
    }
    for (const auto& [base, finding] : {std::pair {"http://127.0.0.1:9", "refused the connection"},
             std::pair {"paper", "not an http or https URL"}, std::pair {"a b", "this is no URL"}}) {
        Patient patient;
        patient.services = base;
        EXPECT_THAT(patient.examine().report, HasSubstr(finding));
    }
    EXPECT_THAT(Patient {}.examine({"--events-url", "http://127.0.0.1:9/v3/"}).report,
        HasSubstr("the address does not end in \"/v2/\""));
    for (const auto& [address, isUnencrypted] :
        {std::pair {"HTTP://example.invalid/v2/", true}, std::pair {"http://localhost.example.invalid/v2/", true},
            std::pair {"http://u@LOCALHOST:9/v2/", false}, std::pair {"http://[::1]:9/v2/", false}}) {
        const auto report = Patient {}.examine({"--events-url", address}).report;
        EXPECT_EQ(report.contains("what is sent there is not encrypted"), isUnencrypted) << address;
    }
}

TEST(DoctorTest, WaitsForASilentServiceWithABoundAndAloud)
{
    Patient patient;
    patient.server.setDefault(Reply::never());
    const auto begin = std::chrono::steady_clock::now();
    const auto findings = patient.examine({"--timeout", "2"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds {20});
    EXPECT_EQ(findings.end, ProcessEnd {.exitStatus = 1});
    EXPECT_THAT(findings.report, HasSubstr("The request timed out"));
    EXPECT_THAT(findings.errors, HasSubstr("asking the web services: 1 of at most"));
}

TEST(DoctorTest, SaysThatACertificateIsNotTrusted)
{
    if (!TestAuthority::isAvailable())
        GTEST_SKIP() << "there is no openssl command";
    const TestAuthority authority;
    const OpenSSLServer server {authority.issueSelfSigned("self", "IP:127.0.0.1")};
    ASSERT_TRUE(server.isRunning());
    Patient patient;
    patient.services = server.url().absoluteString();
    patient.services.pop_back();
    EXPECT_THAT(patient.examine().report,
        AllOf(HasSubstr("A secure connection to the server could not be made"), HasSubstr("this device's clock")));
}

TEST(DoctorTest, TakesOnlyWhatADoctorNeeds)
{
    const Patient patient;
    for (const auto& more : std::vector<std::vector<std::string>> {
             {"--window"}, {"script.jsonl"}, {"--timeout", "0"}, {"--identifier", "my shop"}, {"--identifier", ".."}}) {
        const auto findings = patient.examine(more);
        EXPECT_EQ(findings.end, (ProcessEnd {.exitStatus = 2})) << testing::PrintToString(more);
        EXPECT_TRUE(findings.errors.starts_with("kova-host: ")) << findings.errors;
        EXPECT_EQ(findings.report, "");
    }
}

} // namespace
} // namespace kova::tests
