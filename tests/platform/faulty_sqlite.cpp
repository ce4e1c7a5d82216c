#include "tests/platform/faulty_sqlite.h"

#include <sqlite3.h>

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace cel::test {

namespace {

using Act = FaultySqlite::Act;

FaultySqlite* theFaults = nullptr;
sqlite3_vfs* theSystem = nullptr;

/// Our part of an open file; the system's lies behind it.
struct File
{
    sqlite3_file base;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* real(sqlite3_file* file)
{
    return reinterpret_cast<File*>(file)->real();
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
    if constexpr (Failure != SQLITE_OK)
        if (const int refused = outcome(theFaults->act(), Failure))
            return refused;
    return (real(file)->pMethods->*Method)(real(file), arguments...);
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset)
{
    const Act act = theFaults->act();
    if (act == Act::shorten)
        real(file)->pMethods->xWrite(real(file), bytes, count / 2, offset);
    if (const int refused = outcome(act, SQLITE_IOERR_WRITE))
        return refused;
    return real(file)->pMethods->xWrite(real(file), bytes, count, offset);
}

void shmBarrier(sqlite3_file* file)
{
    real(file)->pMethods->xShmBarrier(real(file));
}

using Methods = sqlite3_io_methods;

// Version 2: with shared memory for the log, without mapped files, whose writes nobody sees.
const Methods kMethods = {
    2,
    [](sqlite3_file* file) { return real(file)->pMethods->xClose(real(file)); },
    passOn<&Methods::xRead, SQLITE_OK, void*, int, sqlite3_int64>,
    writeFile,
    passOn<&Methods::xTruncate, SQLITE_IOERR_TRUNCATE, sqlite3_int64>,
    passOn<&Methods::xSync, SQLITE_IOERR_FSYNC, int>,
    passOn<&Methods::xFileSize, SQLITE_OK, sqlite3_int64*>,
    passOn<&Methods::xLock, SQLITE_OK, int>,
    passOn<&Methods::xUnlock, SQLITE_OK, int>,
    passOn<&Methods::xCheckReservedLock, SQLITE_OK, int*>,
    passOn<&Methods::xFileControl, SQLITE_OK, int, void*>,
    [](sqlite3_file* file) { return real(file)->pMethods->xSectorSize(real(file)); },
    [](sqlite3_file* file) { return real(file)->pMethods->xDeviceCharacteristics(real(file)); },
    passOn<&Methods::xShmMap, SQLITE_IOERR_SHMMAP, int, int, int, void volatile**>,
    passOn<&Methods::xShmLock, SQLITE_OK, int, int, int>,
    shmBarrier,
    passOn<&Methods::xShmUnmap, SQLITE_OK, int>,
    nullptr,
    nullptr,
};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    file->pMethods = nullptr;
    if (const int refused = outcome(theFaults->act(), SQLITE_CANTOPEN))
        return refused;
    const int result = theSystem->xOpen(theSystem, name, real(file), flags, outFlags);
    if (real(file)->pMethods)
        file->pMethods = &kMethods;
    return result;
}

int removeFile(sqlite3_vfs*, const char* name, int syncFolder)
{
    if (const int refused = outcome(theFaults->act(), SQLITE_IOERR_DELETE))
        return refused;
    return theSystem->xDelete(theSystem, name, syncFolder);
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
    theVfs.szOsFile += static_cast<int>(sizeof(File));
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

FaultySqlite::Act FaultySqlite::act()
{
    return decide_(++calls_);
}

} // namespace cel::test
