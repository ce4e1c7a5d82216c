#include "tools/cel/isolate.h"

#include "tools/cel/commands.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#if defined(_WIN32)
#include "platform/support/utf8.h"

#include <process.h>
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cerrno>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace cel::tool {

namespace {

#if defined(_WIN32)

int runAlone(const std::string& file, const std::vector<std::string>& command,
             const std::function<int(const std::string&)>&)
{
    std::wstring program(32768, L'\0');
    const auto length =
        GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    if (length == 0 || length == program.size())
        return kInternalFault;
    program.resize(length);
    // The arguments are joined to one line; a file's name cannot hold a quotation mark.
    std::vector<std::wstring> words = {L"cel"};
    for (const std::string& word : command)
        words.push_back(toWide(word));
    words.push_back(L'"' + toWide(file) + L'"');
    std::vector<const wchar_t*> arguments;
    for (const std::wstring& word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    const auto code = _wspawnv(_P_WAIT, program.c_str(), arguments.data());
    return code < 0 ? kInternalFault : static_cast<int>(code);
}

#else

int exitCodeOf(pid_t child)
{
    constexpr int kEndedBySignal = 128;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return kInternalFault;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : kEndedBySignal + WTERMSIG(status);
}

int runAlone(const std::string& file, const std::vector<std::string>&,
             const std::function<int(const std::string&)>& job)
{
    // What is still in the buffers would be written by both processes.
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        std::exit(job(file));
    return child < 0 ? kInternalFault : exitCodeOf(child);
}

#endif

} // namespace

int runEachAlone(const std::vector<std::string>& files, const std::vector<std::string>& command,
                 const std::function<int(const std::string&)>& job)
{
    int worst = 0;
    for (const std::string& file : files) {
        const int code = runAlone(file, command, job);
        if (code >= kInternalFault)
            std::cerr << file << ": the process ended with " << code << '\n';
        worst = std::max(worst, code);
    }
    return worst;
}

} // namespace cel::tool
