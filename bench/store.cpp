#include "bench/long_track.h"
#include "bench/rows.h"
#include "bench/scratch_folder.h"
#include "interchange/cel_store.h"
#include "platform/support/object_file.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <sqlite3.h>

namespace cel::bench {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSectionsPerTrack = 50; // 100 events

/// The data base as it is, with its failures thrown: a key and a piece of bytes in each row.
class RawStore
{
public:
    explicit RawStore(const fs::path& path)
    {
        check(sqlite3_open(path.c_str(), &data_));
        run("PRAGMA synchronous = FULL");
    }
    RawStore(const RawStore&) = delete;
    RawStore& operator=(const RawStore&) = delete;
    ~RawStore() { sqlite3_close(data_); }

    void run(const char* statement)
    {
        check(sqlite3_exec(data_, statement, nullptr, nullptr, nullptr));
    }

    void put(const char* statement, const std::vector<std::vector<std::byte>>& rows)
    {
        run("BEGIN IMMEDIATE");
        sqlite3_stmt* put = nullptr;
        check(sqlite3_prepare_v2(data_, statement, -1, &put, nullptr));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            sqlite3_bind_int64(put, 1, static_cast<std::int64_t>(i));
            sqlite3_bind_blob64(put, 2, rows[i].data(), rows[i].size(), SQLITE_STATIC);
            sqlite3_step(put);
            check(sqlite3_reset(put));
        }
        check(sqlite3_finalize(put));
        run("COMMIT");
    }

    /// @return bytes of all rows.
    std::size_t readAll()
    {
        sqlite3_stmt* read = nullptr;
        check(sqlite3_prepare_v2(data_, "SELECT key, bytes FROM t", -1, &read, nullptr));
        std::size_t bytes = 0;
        while (sqlite3_step(read) == SQLITE_ROW)
            if (sqlite3_column_blob(read, 1))
                bytes += static_cast<std::size_t>(sqlite3_column_bytes(read, 1));
        check(sqlite3_finalize(read));
        return bytes;
    }

private:
    static void check(int result)
    {
        if (result != SQLITE_OK)
            throw std::runtime_error(sqlite3_errstr(result));
    }

    sqlite3* data_ = nullptr;
};

/// A cut of many short tracks, in a store and as raw rows of the same bytes.
struct ManyTracks
{
    explicit ManyTracks(std::size_t sections)
    {
        for (std::size_t i = 0; i < std::max<std::size_t>(1, sections / kSectionsPerTrack); ++i) {
            const Kt::Ptr<Cel> track = cut.addTrack(kVideoCookie, static_cast<int>(i + 1));
            for (const ChannelEvent& event : longTrack(kSectionsPerTrack)->events())
                track->addEvent(event);
            ObjectPacker packer;
            packer.add(IdStamp(), *track);
            const auto bytes = packer.file().bytes();
            rows.emplace_back(bytes.begin(), bytes.end());
        }
        saveNew();
        insertNew();
    }

    void save()
    {
        std::string error;
        if (!saveStoredCut(cut, store, SaveGuard::refuse, error, &cut.stored))
            throw std::runtime_error(error);
    }
    void saveNew()
    {
        fs::remove(store);
        save();
    }
    void insertNew()
    {
        fs::remove(raw);
        RawStore data(raw);
        data.run("CREATE TABLE t (key INTEGER PRIMARY KEY, bytes BLOB)");
        data.put("INSERT INTO t VALUES (?, ?)", rows);
        data.run("PRAGMA journal_mode = WAL");
    }

    /// Every event differs from what is in the store.
    void saveChanged()
    {
        level = 1.5F - level;
        for (const Kt::Ptr<Cel>& track : cut.tracks)
            for (int i = 0; i < track->numEvents(); ++i)
                track->getChanEventPtr(i)->level_sc(level);
        save();
    }
    void updateAll()
    {
        constexpr std::size_t kEventBytes = 64;
        mark ^= std::byte(1);
        for (std::vector<std::byte>& row : rows)
            for (std::size_t at = kEventBytes; at < row.size(); at += kEventBytes)
                row[at] = mark;
        RawStore(raw).put("UPDATE t SET bytes = ?2 WHERE key = ?1", rows);
    }

    void load() const
    {
        std::string error;
        if (!loadStoredCut(store, error))
            throw std::runtime_error(error);
    }
    void selectAll() const { (void)RawStore(raw).readAll(); }

    ScratchFolder folder;
    fs::path store = folder.path() / "cut.celdb";
    fs::path raw = folder.path() / "raw.db";
    Cut cut;
    std::vector<std::vector<std::byte>> rows; ///< of the tracks, as the store holds them
    float level = 1.0F;                       ///< of all events
    std::byte mark{0};                        ///< in the raw rows
};

template <class Operation, class Floor>
Row row(const char* name, Operation operation, Floor floor)
{
    return {name, {5'000, 50'000, 500'000}, [=](std::size_t sections) {
                const auto data = std::make_shared<ManyTracks>(sections);
                return Contest{[=] { ((*data).*operation)(); }, [=] { ((*data).*floor)(); }};
            }};
}

} // namespace

std::vector<Row> storeRows()
{
    return {row("save tracks of 50 to a new store", &ManyTracks::saveNew, &ManyTracks::insertNew),
            row("save changed tracks of 50 to a store", &ManyTracks::saveChanged,
                &ManyTracks::updateAll),
            row("load tracks of 50 from a store", &ManyTracks::load, &ManyTracks::selectAll)};
}

} // namespace cel::bench
