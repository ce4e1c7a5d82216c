#pragma once

#include "platform/export.h"

#include <functional>
#include <string>

/// Where the library speaks. Each function is thread-safe, ends up in the one `LogSink` of the
/// process, and never fails. Formats are printf's; text from outside goes through "%s".

/// The log file alone: repairs and notes that matter afterwards.
CEL_PLATFORM_API void Log(const char* format, ...) CEL_PRINTF(1, 2);

/// The log file and the console: what whoever is watching should see.
CEL_PLATFORM_API void LogBoth(const char* format, ...) CEL_PRINTF(1, 2);

/// The log with the stack of the caller: data was refused, and somebody must find out who sent it.
CEL_PLATFORM_API void logStacktrace(const char* text);

/// Diagnostic print of an oddity that one can live with.
CEL_PLATFORM_API void vond_printf(const char* format, ...) CEL_PRINTF(1, 2);

/// A fault that quality assurance wants to hear of; the caller carries on.
/// @param code  a number that the caller adds for the reader of the report.
CEL_PLATFORM_API void qa_splat(const char* text, int code);

/// Fatal misuse. Reports the text and throws `Kt::Exception::Base` with it.
[[noreturn]] CEL_PLATFORM_API void ura_splat(const char* text);

namespace cel {

/// Through which of the functions above a report came.
enum class LogChannel { log, both, stacktrace, print, quality, fatal };

/// Receives every report: the channel and the finished text, exactly as it was written.
using LogSink = std::function<void(LogChannel, const std::string&)>;

/// Replaces the sink of the process and returns the former one; an empty sink restores the
/// default, which writes to the log file and the console. Calls of a sink never overlap.
CEL_PLATFORM_API LogSink setLogSink(LogSink sink);

} // namespace cel
