#include "platform/embedded/support/StackTrace.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#if defined(_WIN32)
#include "platform/support/utf8.h"
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <backtrace.h>
#include <cxxabi.h>
#include <dlfcn.h>
#endif

namespace cel::detail {

namespace {

std::string hexadecimal(std::uintptr_t value)
{
    char text[24];
    std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

#if defined(_WIN32)

std::size_t takeAddresses(std::uintptr_t* addresses, std::size_t most)
{
    return CaptureStackBackTrace(0, static_cast<DWORD>(most), reinterpret_cast<void**>(addresses),
                                 nullptr);
}

std::string describe(std::uintptr_t address)
{
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH];
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<const wchar_t*>(address), &module) ||
        GetModuleFileNameW(module, path, MAX_PATH) == 0)
        return hexadecimal(address);
    return toUtf8(path) + "+" + hexadecimal(address - reinterpret_cast<std::uintptr_t>(module));
}

#else

void ignoreError(void*, const char*, int) {}

/// libbacktrace's view of this process's debug information. It is read once and kept: there is no
/// call to free it.
backtrace_state* debugInformation()
{
    static backtrace_state* const state = backtrace_create_state(nullptr, 1, ignoreError, nullptr);
    return state;
}

struct Addresses
{
    std::uintptr_t* next;
    std::uintptr_t* end;
};

std::size_t takeAddresses(std::uintptr_t* addresses, std::size_t most)
{
    Addresses target{addresses, addresses + most};
    const auto take = [](void* data, std::uintptr_t address) {
        auto& into = *static_cast<Addresses*>(data);
        if (address == UINTPTR_MAX)
            return 1; // what the unwinder gives for the frame that nobody called
        *into.next++ = address;
        return into.next == into.end ? 1 : 0;
    };
    backtrace_simple(debugInformation(), 0, take, ignoreError, &target);
    return static_cast<std::size_t>(target.next - addresses);
}

std::string readable(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
    return name ? name.get() : symbol;
}

/// The function that the symbol table names and the offset in its module: what is left without
/// debug information.
std::string symbolAndModule(std::uintptr_t address)
{
    std::string text;
    const auto take = [](void* data, std::uintptr_t, const char* symbol, std::uintptr_t,
                         std::uintptr_t) {
        if (symbol)
            *static_cast<std::string*>(data) = readable(symbol) + " in ";
    };
    backtrace_syminfo(debugInformation(), address, take, ignoreError, &text);

    Dl_info module{};
    if (dladdr(reinterpret_cast<void*>(address), &module) == 0 || !module.dli_fname)
        return text + hexadecimal(address);
    const auto base = reinterpret_cast<std::uintptr_t>(module.dli_fbase);
    return text + module.dli_fname + "+" + hexadecimal(address - base);
}

/// Function, file and line where the debug information knows them. A call that the compiler put
/// inline shows as several lines.
std::string describe(std::uintptr_t address)
{
    std::string text;
    const auto append = [](void* data, std::uintptr_t, const char* file, int line,
                           const char* function) {
        if (!file || !function)
            return 0; // go on
        auto& into = *static_cast<std::string*>(data);
        into += into.empty() ? "" : "\n";
        into += readable(function) + " at " + file + ":" + std::to_string(line);
        return 0;
    };
    backtrace_pcinfo(debugInformation(), address, append, ignoreError, &text);
    return text.empty() ? symbolAndModule(address) : text;
}

#endif

} // namespace

StackTrace StackTrace::from(const void* caller)
{
    StackTrace trace;
    auto& addresses = trace.addresses_;
    trace.count_ = takeAddresses(addresses.data(), addresses.size());

    // A frame's address may stand for the call or for the instruction after it.
    const auto returnAddress = reinterpret_cast<std::uintptr_t>(caller);
    const auto end = addresses.begin() + static_cast<std::ptrdiff_t>(trace.count_);
    const auto first = std::find_if(addresses.begin(), end, [returnAddress](std::uintptr_t at) {
        return at == returnAddress || at + 1 == returnAddress;
    });
    if (first != end) {
        std::copy(first, end, addresses.begin());
        trace.count_ = static_cast<std::size_t>(end - first);
    }
    return trace;
}

std::string StackTrace::text() const
{
    std::string lines;
    for (std::size_t i = 0; i < count_; ++i)
        lines += describe(addresses_[i]) + "\n";
    return count_ == 0 ? "(no stack)\n" : lines;
}

} // namespace cel::detail
