#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <unistd.h>

namespace cel::bench {

/// A folder of its own for the files that are saved; gone afterwards.
class ScratchFolder
{
public:
    ScratchFolder()
        : path_(std::filesystem::temp_directory_path() / ("cel-bench-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace cel::bench
