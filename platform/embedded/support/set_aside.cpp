#include "platform/support/set_aside.h"

#include <string>

namespace cel {

bool setAside(const std::filesystem::path& path, FileOperations& files)
{
    constexpr int kMostNames = 1000;
    FileOperations::Status status;
    if (files.status(path, status))
        return false;
    if (status.kind == FileOperations::Kind::nothing)
        return true;
    for (int number = 1; number <= kMostNames; ++number) {
        std::filesystem::path aside = path;
        aside += number == 1 ? ".unread" : ".unread-" + std::to_string(number);
        if (files.status(aside, status))
            return false;
        if (status.kind == FileOperations::Kind::nothing)
            return !files.rename(path, aside);
    }
    return false;
}

} // namespace cel
