// How parameters could be encoded. Declared for hosts that name it; every request body is the endpoint's bytes as
// given.

#pragma once

namespace kova {

enum class ParameterEncoding { jsonEncoding, urlEncoding };

} // namespace kova
