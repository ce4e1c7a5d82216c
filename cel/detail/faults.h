#pragma once

#include "platform/foundation/Exception.h"

namespace cel::detail {

/// Source modules under which faults are reported, as the readers of reports know them.
inline constexpr const char* kCelModule = "cel\\Cel";
inline constexpr const char* kHandleModule = "cel\\ce_handle";
inline constexpr const char* kEventModule = "cel\\ChannelEvent";

/// Throws `Kt::Exception::RuntimeError`. Out of line, so that checks cost their callers a branch.
[[noreturn]] void fail(const char* message, const char* module, int line);

} // namespace cel::detail
