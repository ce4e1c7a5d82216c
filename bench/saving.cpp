#include "bench/long_track.h"
#include "bench/rows.h"
#include "bench/scratch_folder.h"
#include "bench/stored_forms.h"
#include "interchange/cel_stream.h"

#include <array>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace cel::bench {

namespace {

namespace fs = std::filesystem;

/// The calls of the system as they are, with their failures thrown.
class File
{
public:
    File(const fs::path& path, int flags)
        : descriptor_(open(path.c_str(), flags, 0600))
    {
        check(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(descriptor_); }

    void write(std::span<const std::byte> bytes)
    {
        while (!bytes.empty())
            bytes = bytes.subspan(check(::write(descriptor_, bytes.data(), bytes.size())));
    }
    void sync() { check(fsync(descriptor_)); }
    void readAll(std::span<std::byte> buffer)
    {
        check(lseek(descriptor_, 0, SEEK_SET));
        while (check(read(descriptor_, buffer.data(), buffer.size())) > 0)
            ;
    }

private:
    static std::size_t check(ssize_t result)
    {
        if (result < 0)
            throw std::system_error(errno, std::generic_category(), "saving");
        return static_cast<std::size_t>(result);
    }

    int descriptor_;
};

struct Saving
{
    explicit Saving(std::size_t sections)
        : events(sections * kSectionBytes)
    {
        cut.tracks.push_back(longTrack(sections));
        stored = writeCut(cut);
    }

    void save()
    {
        std::string error;
        if (!saveCut(cut, folder.path() / "cut.cel", SaveGuard::refuse, error))
            throw std::runtime_error(error);
    }

    /// The floor: as many bytes, as safely, and back into a buffer that fits the cache.
    void saveBytes()
    {
        squeeze<kFlatBytes>(events, stored.data());
        const fs::path aside = folder.path() / "aside";
        {
            File file(aside, O_RDWR | O_CREAT | O_TRUNC);
            file.write(stored);
            file.sync();
            file.readAll(buffer);
        }
        fs::rename(aside, folder.path() / "bytes");
        File(folder.path(), O_RDONLY | O_DIRECTORY).sync();
    }

    ScratchFolder folder;
    Cut cut;
    std::vector<std::byte> events;
    std::vector<std::byte> stored;
    std::array<std::byte, std::size_t(256) << 10> buffer;
};

Contest saving(std::size_t sections)
{
    const auto data = std::make_shared<Saving>(sections);
    return {[data] { data->save(); }, [data] { data->saveBytes(); }};
}

} // namespace

std::vector<Row> savingRows()
{
    return {{"save to a file", kSizes, saving}};
}

} // namespace cel::bench
