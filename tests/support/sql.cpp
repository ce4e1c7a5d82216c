#include "tests/support/sql.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace cel::test {

void runSql(const std::filesystem::path& file, const std::string& statements)
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(file.string().c_str(), &opened);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(opened, &sqlite3_close);
    if (result != SQLITE_OK ||
        sqlite3_exec(opened, statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(opened));
}

} // namespace cel::test
