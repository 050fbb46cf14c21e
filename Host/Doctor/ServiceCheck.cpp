#include "Host/Doctor/ServiceCheck.h"

#include "Host/Patience.h"
#include "Platform/Foundation/Date.h"
#include "Platform/Libraries/URLSessionCurl.h"
#include "Platform/Posix/HostName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

namespace kova::host {

namespace {

struct Service {
    std::string name;
    std::string baseURL;
    const char* ending;
};

struct Answer {
    std::optional<HTTPURLResponse> response {};
    std::error_code error {};
};

/// Shared with the completions, which may run after the time is over.
struct Answers {
    std::mutex mutex;
    std::condition_variable_any changed;
    std::vector<std::optional<Answer>> answers {};
    std::size_t pending = 0;
};

bool isUnencrypted(const std::string& url)
{
    auto scheme = url.substr(0, url.find(':'));
    std::ranges::transform(scheme, scheme.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return scheme == "http";
}

// The host of an absolute URL, an IPv6 address without its brackets.
std::string hostOf(const std::string& url)
{
    const auto begin = url.find("://");
    auto host = begin == std::string::npos ? "" : url.substr(begin + 3);
    host.resize(std::min(host.find_first_of("/?#"), host.size()));
    host.erase(0, host.rfind('@') + 1);
    if (host.starts_with('['))
        return host.substr(1, host.find(']') - 1);
    return host.substr(0, host.find(':'));
}

bool isLoopback(const std::string& url)
{
    constexpr std::uint8_t loopbackNetwork = 127;
    const auto name = HostName::parse(hostOf(url));
    const auto addresses = name ? name->fixedAddresses() : std::vector<HostAddress> {};
    return !addresses.empty() && std::ranges::all_of(addresses, [](const HostAddress& address) {
        return address.family == HostAddress::Family::v4 ? address.bytes[0] == loopbackNetwork
                                                         : address == HostAddress::fromText("::1");
    });
}

// The seconds by which the server's clock is ahead of this one.
std::optional<double> clockDifference(const HTTPURLResponse& response)
{
    const auto field = response.allHeaderFields.find("Date");
    if (field == response.allHeaderFields.end())
        return std::nullopt;
    std::tm date {};
    if (!strptime(field->second.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &date))
        return std::nullopt;
    return static_cast<double>(timegm(&date)) - Date::now().secondsSince1970;
}

std::string remedyFor(std::error_code error)
{
    if (error == URLError::cannotFindHost)
        return "Check the name in the address, and the device's name servers (/etc/resolv.conf).";
    if (error == URLError::cannotConnectToHost)
        return "Check host and port in the address, that the service runs, and the route to it.";
    if (error == URLError::timedOut)
        return "The service hangs, or a firewall drops what is sent. Ask from another device, too.";
    if (error == URLError::secureConnectionFailed)
        return "Its certificate has expired, is for another name, or is of an authority this system does not know "
               "(package ca-certificates); or this device's clock is wrong: it says "
            + description(Date::now()) + "; or a service for http listens there, where https is meant.";
    if (error == URLError::unsupportedURL)
        return "Write an absolute address: https://, a host, and a port of at most 65535 if any.";
    if (error == URLError::badServerResponse || error == URLError::networkConnectionLost)
        return "Something else than a web server listens there, or it closes connections; https where http is meant, "
               "or the reverse, looks like this.";
    return "Try again; look at the service's own log.";
}

void judge(const Answer& answer, Report& report)
{
    constexpr double mostDifference = 300;
    if (answer.error) {
        report.wrong(answer.error.message(), remedyFor(answer.error));
        return;
    }
    const auto status = answer.response ? answer.response->statusCode : 0;
    const auto said = "it answers with status " + std::to_string(status);
    if (status >= 500 && status != 501)
        report.wrong(said + ": the service, or a proxy before it, is in trouble", "Ask whoever keeps the service.");
    else if (status >= 300 && status < 400)
        report.wrong(said + ", a redirect, which posts do not follow", "Use the address that it redirects to.");
    else
        report.fine(said + (status >= 400 ? ", which is fine for this question" : ""));
    const auto difference = answer.response ? clockDifference(*answer.response) : std::nullopt;
    if (difference && std::abs(*difference) > mostDifference) {
        report.wrong("this device's clock is " + std::to_string(std::llround(std::abs(*difference))) + " seconds "
                + (*difference > 0 ? "behind" : "ahead of")
                + " the service's; certificates and the times of events depend on it",
            "Set the clock, best by NTP (timedatectl set-ntp true).");
    } else if (difference) {
        report.fine("this device's clock agrees with the service's");
    }
}

void checkAddress(const Service& service, Report& report)
{
    if (!service.baseURL.ends_with(service.ending))
        report.wrong("the address does not end in \"" + std::string {service.ending} + "\"",
            "Build with the whole base URL, its last \"/\" included.");
    if (isUnencrypted(service.baseURL) && !isLoopback(service.baseURL))
        report.wrong("what is sent there is not encrypted", "Use https://.");
}

// A clock that was never set stands before the day on which this program was installed.
void checkClock(Report& report)
{
    std::error_code unreadable;
    const auto installed = std::filesystem::last_write_time("/proc/self/exe", unreadable);
    constexpr std::chrono::hours day {24};
    if (!unreadable && installed > std::filesystem::file_time_type::clock::now() + day)
        report.wrong("this device's clock says " + description(Date::now()) + ", which is before this program was made",
            "Set the clock, best by NTP (timedatectl set-ntp true); until then TLS fails.");
}

} // namespace

void checkServices(const ServiceAddresses& addresses, std::chrono::duration<double> timeout,
    const std::stop_token& stop, Report& report)
{
    const std::array services {
        Service {"Events web service", addresses.eventsBaseURL, "/v2/"},
        Service {"Push-metrics web service", addresses.metricsBaseURL, "/v2/"},
        Service {"Geotrigger web service", addresses.geotriggersBaseURL, "/v1/geotriggers/"},
    };
    URLSessionCurl session;
    const auto shared = std::make_shared<Answers>();
    std::unique_lock lock {shared->mutex};
    shared->answers.resize(services.size());
    for (std::size_t index = 0; index < services.size(); ++index) {
        const auto url = URL::create(services.at(index).baseURL);
        if (!url)
            continue;
        ++shared->pending;
        const auto task = session.dataTask({.url = *url,
                                               .cachePolicy = CachePolicy::reloadIgnoringLocalAndRemoteCacheData,
                                               .timeoutInterval = timeout,
                                               .httpMethod = "HEAD"},
            [shared, index](
                const std::optional<Data>&, std::optional<HTTPURLResponse> response, std::error_code error) {
                const std::lock_guard guard {shared->mutex};
                shared->answers.at(index) = Answer {.response = std::move(response), .error = error};
                --shared->pending;
                shared->changed.notify_all();
            });
        task->resume();
    }
    // The session itself ends what takes too long; the second more is for that.
    Patience patience {"asking the web services", timeout + std::chrono::seconds {1}};
    (void)patience.wait(lock, shared->changed, stop, [&] { return shared->pending == 0; });
    const auto answers = shared->answers;
    lock.unlock();
    session.invalidateAndCancel();

    for (std::size_t index = 0; index < services.size(); ++index) {
        const auto& service = services.at(index);
        report.section(service.name + ": HEAD " + service.baseURL + " (nothing is posted)");
        checkAddress(service, report);
        if (!URL::create(service.baseURL))
            report.wrong("this is no URL, so the first request stops the process", "Build with an absolute https URL.");
        else
            judge(answers.at(index).value_or(Answer {.error = URLError::timedOut}), report);
    }
    checkClock(report);
}

} // namespace kova::host
