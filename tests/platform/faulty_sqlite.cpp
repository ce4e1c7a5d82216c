#include "tests/platform/faulty_sqlite.h"

#include <sqlite3.h>

#include <map>
#include <stdexcept>
#include <utility>

namespace cel::test {

namespace {

using Act = FaultySqlite::Act;
using Methods = sqlite3_io_methods;

FaultySqlite* theFaults = nullptr;
sqlite3_vfs* theSystem = nullptr;

/// The methods of a kind of open file, and the system's behind them.
struct FaultyMethods
{
    Methods ours;
    const Methods* real;
};
std::map<const Methods*, FaultyMethods> theMethods; ///< by the system's

const Methods& real(const sqlite3_file* file)
{
    return *reinterpret_cast<const FaultyMethods*>(file->pMethods)->real;
}

/// @return what a call answers that is not passed on; SQLITE_OK for one that is.
int outcome(Act act, int failure)
{
    return act == Act::passOn ? SQLITE_OK : act == Act::full ? SQLITE_FULL : failure;
}

/// Passes a call of an open file on, or answers with the failure.
template <auto Method, int Failure, class... Arguments>
int passOn(sqlite3_file* file, Arguments... arguments)
{
    const int refused = outcome(theFaults->act(), Failure);
    return refused != SQLITE_OK ? refused : (real(file).*Method)(file, arguments...);
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset)
{
    const Act act = theFaults->act();
    if (act == Act::shorten)
        real(file).xWrite(file, bytes, count / 2, offset);
    const int refused = outcome(act, SQLITE_IOERR_WRITE);
    return refused != SQLITE_OK ? refused : real(file).xWrite(file, bytes, count, offset);
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    file->pMethods = nullptr;
    if (const int refused = outcome(theFaults->act(), SQLITE_CANTOPEN))
        return refused;
    const int result = theSystem->xOpen(theSystem, name, file, flags, outFlags);
    if (!file->pMethods)
        return result;
    FaultyMethods& faulty = theMethods[file->pMethods];
    faulty = {*file->pMethods, file->pMethods};
    faulty.ours.iVersion = 2; // without mapped files, whose writes nobody sees
    faulty.ours.xWrite = writeFile;
    faulty.ours.xTruncate = passOn<&Methods::xTruncate, SQLITE_IOERR_TRUNCATE, sqlite3_int64>;
    faulty.ours.xSync = passOn<&Methods::xSync, SQLITE_IOERR_FSYNC, int>;
    faulty.ours.xShmMap =
        passOn<&Methods::xShmMap, SQLITE_IOERR_SHMMAP, int, int, int, void volatile**>;
    file->pMethods = &faulty.ours;
    return result;
}

int removeFile(sqlite3_vfs*, const char* name, int syncFolder)
{
    const int refused = outcome(theFaults->act(), SQLITE_IOERR_DELETE);
    return refused != SQLITE_OK ? refused : theSystem->xDelete(theSystem, name, syncFolder);
}

sqlite3_vfs theVfs;

} // namespace

FaultySqlite::FaultySqlite(std::function<Act(int call)> decide)
    : decide_(std::move(decide))
{
    if (theFaults)
        throw std::logic_error("one set of faults at a time");
    theFaults = this;
    theSystem = sqlite3_vfs_find(nullptr);
    theVfs = *theSystem;
    theVfs.pNext = nullptr;
    theVfs.zName = "faulty";
    theVfs.xOpen = openFile;
    theVfs.xDelete = removeFile;
    sqlite3_vfs_register(&theVfs, 1);
}

FaultySqlite::~FaultySqlite()
{
    sqlite3_vfs_unregister(&theVfs);
    sqlite3_vfs_register(theSystem, 1);
    theFaults = nullptr;
}

} // namespace cel::test
