#pragma once

#include "platform/export.h"

#include <functional>
#include <string>

/// Where the library speaks. Each function is thread-safe, ends up in the one `LogSink` of the
/// process, and never fails. Formats are printf's, their numbers the same in every locale; text
/// from outside goes through "%s". All may be used during static initialisation.

/// The log file alone: repairs and notes that matter afterwards.
CEL_PLATFORM_API void Log(const char* format, ...) CEL_PRINTF(1, 2);

/// The log file and the console: what whoever is watching should see.
CEL_PLATFORM_API void LogBoth(const char* format, ...) CEL_PRINTF(1, 2);

/// The log with the stack of the caller: data was refused, and somebody must find out who sent it.
CEL_PLATFORM_API void logStacktrace(const char* text);

/// Diagnostic print of an oddity that one can live with.
CEL_PLATFORM_API void vond_printf(const char* format, ...) CEL_PRINTF(1, 2);

/// A fault that quality assurance wants to hear of; the caller carries on.
/// @param code  a number for the reader of the report; follows the text in brackets unless it is 0.
CEL_PLATFORM_API void qa_splat(const char* text, int code);

/// Fatal misuse. Reports the text and throws `Kt::Exception::Base` with it.
[[noreturn]] CEL_PLATFORM_API void ura_splat(const char* text);

namespace cel {

/// Through which of the functions above a report came.
enum class LogChannel { log, both, stacktrace, print, quality, fatal };

/// Receives every report: the channel and the finished text, exactly as it was written.
using LogSink = std::function<void(LogChannel, const std::string&)>;

/// Replaces the sink of the process and returns the former one; an empty sink restores the
/// default. Calls of a sink never overlap. What a sink itself reports goes to the default one, and
/// what it throws is dropped.
///
/// The default sink writes to the file that the environment variable `CEL_LOG_FILE` names, else to
/// "log/cel.log" in the configuration folder, and to the console what came through `LogBoth`,
/// `qa_splat` and `ura_splat` (with `CEL_VERBOSE` set, everything). It writes at most 10 of one
/// message in a burst, and then one line with the number of those left out. Where it cannot write,
/// it drops.
CEL_PLATFORM_API LogSink setLogSink(LogSink sink);

/// Ends the bursts of the default sink: writes how many of each message were left out. Happens by
/// itself a second after a burst, with the next report, and when the process ends.
CEL_PLATFORM_API void flushLog();

} // namespace cel
