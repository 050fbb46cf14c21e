// Marks what a host may call: everything else stays inside when the SDK is built as a shared library.

#pragma once

/// Stands after `class` or `struct`, or before a function's declaration.
#define KOVA_EXPORT [[gnu::visibility("default")]]
