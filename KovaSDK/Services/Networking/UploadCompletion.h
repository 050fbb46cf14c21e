// How an upload ends that is not followed up: what came back is printed, and any reply counts.

#pragma once

#include "Platform/Foundation/URLSession.h"
#include "Platform/Foundation/Value.h"

#include <expected>
#include <functional>
#include <system_error>

namespace kova {

/// Gets `true` for any reply, whatever its status, or the transport's error. Runs on the HTTP session's thread.
using UploadCompletion = std::move_only_function<void(std::expected<Value, std::error_code>)>;

/// What completes the task of such an upload. A reply's body and its classification are printed, a transport error
/// prints nothing. That a status of 401 or 500 is a success for the caller is contract.
[[nodiscard]] DataTaskCompletion printingReply(UploadCompletion completion);

} // namespace kova
