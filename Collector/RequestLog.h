// The file that tells what the clients sent: one JSON object a line, in the order in which the requests were complete.
//
//   {"body":"…","headers":{"Content-Type":"application/json"},"method":"POST","path":"/v2/…"}
//
// Text that is not UTF-8 is repaired with U+FFFD; such a body is there a second time as "bodyBase64".
// Each line is one write to a file opened for appending, so a reader never sees half of one and several collectors may
// share a file. Threads: one.

#pragma once

#include "Collector/ReceivedRequest.h"

#include <expected>
#include <memory>
#include <string>
#include <system_error>

namespace kova::collector {

class RequestLog {
public:
    /// Creates the file, readable by its owner alone, when it is not there.
    [[nodiscard]] static std::expected<std::unique_ptr<RequestLog>, std::error_code> open(const std::string& file);

    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    /// The line is in the file when this returns without an error.
    [[nodiscard]] std::error_code append(const ReceivedRequest& request);

private:
    explicit RequestLog(int descriptor);

    int m_descriptor;
};

} // namespace kova::collector
