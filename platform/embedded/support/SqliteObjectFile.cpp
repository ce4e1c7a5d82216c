#include "platform/embedded/support/SqliteObjectFile.h"

#include "platform/embedded/support/object_tables.h"
#include "platform/support/utf8.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace cel::detail {

namespace {

constexpr std::size_t kMostFindings = 1000;

class SqliteObjectFile final : public ObjectFile
{
public:
    SqliteObjectFile(const std::filesystem::path& path, Sqlite::Access access)
        : data_(path, access)
        , name_('"' + pathToUtf8(path) + '"')
    {
        const SqliteTransaction snapshot(data_, false);
        acceptSchema();
        bool ignored = false;
        if (const auto state = readState(ignored))
            mark_ = state->mark;
    }

    const StoreMark& mark() const override { return mark_; }

    bool read(const IdStamp& id, const Reader& reader, std::string& error) override
    {
        error.clear();
        try {
            const SqliteTransaction snapshot(data_, false);
            bool ignored = false;
            const auto state = readState(ignored);
            if (state ? state->mark != mark_ : mark_.store.valid())
                throw SqliteFault(SqliteFault::Kind::other, kChangedMeanwhile);
            SqliteStatement select(data_, (std::string(kSelectRow) + "WHERE id = ?").c_str());
            const IdBytes bytes(id);
            ObjectRow row;
            if (!select.bind({Bytes(bytes)}).step())
                return false;
            if (isSound(select, row)) {
                reader(row);
                return true;
            }
            error = "class " + std::string(row.className) + ": " + kWrongChecksum;
        } catch (const SqliteFault& fault) {
            error = name_ + ": " + fault.what();
        }
        return false;
    }

    bool readAll(std::vector<ObjectName>& names, const Reader& reader, Findings& findings,
                 std::string& error) override
    {
        try {
            const SqliteTransaction snapshot(data_, false);
            bool sound = false;
            const auto state = readState(sound);
            mark_ = state ? state->mark : StoreMark();
            sound = sound && state;
            if (!sound)
                report(findings, {}, kDamagedState);
            names = readNames(&findings);
            const std::int64_t objects = readObjects(reader, findings);
            if (sound && state->names != namesSeen_)
                reportCount(findings, state->names, namesSeen_, "names");
            if (sound && state->objects != objects)
                reportCount(findings, state->objects, objects, "objects");
            return true;
        } catch (const SqliteFault& fault) {
            error = fault.what();
            return false;
        }
    }

    void examine(Findings& findings) override
    {
        try {
            SqliteStatement check(data_, "PRAGMA integrity_check(20)");
            while (check.step())
                if (check.text(0) != "ok")
                    report(findings, {}, "structure: " + std::string(check.text(0)));
        } catch (const SqliteFault& fault) {
            report(findings, {}, fault.what());
        }
    }

    bool change(std::span<const ObjectRow> put, std::span<const IdStamp> remove,
                std::string& error) override
    {
        return save(mark_, error, [&](TableWriter& writer, const StoreMark&) {
            SqliteStatement find(data_, "SELECT number FROM object WHERE id = ?");
            SqliteStatement erase(data_, "DELETE FROM object WHERE id = ?");
            for (const IdStamp& id : remove) {
                const IdBytes bytes(id);
                erase.bind({Bytes(bytes)}).step();
            }
            for (const ObjectRow& row : put) {
                const IdBytes bytes(row.id);
                const bool exists = find.bind({Bytes(bytes)}).step();
                const std::int64_t number = exists ? find.number(0) : 0;
                find.reset();
                if (exists)
                    writer.update(number, row);
                else
                    writer.insert(row);
            }
        });
    }

    bool replaceAll(std::span<const ObjectRow> rows, std::span<const ObjectName> names,
                    const StoreMark& seen, std::string& error) override
    {
        return save(seen, error, [&](TableWriter& writer, const StoreMark& former) {
            replaceObjects(writer, rows, seen.store == former.store);
            std::vector<ObjectName> wanted(names.begin(), names.end());
            std::sort(wanted.begin(), wanted.end());
            std::vector<ObjectName> present = readNames(nullptr);
            std::sort(present.begin(), present.end());
            if (present == wanted && namesSeen_ == static_cast<std::int64_t>(wanted.size()))
                return;
            data_.run("DELETE FROM name");
            writer.insert(wanted);
        });
    }

private:
    static constexpr const char* kWrongChecksum =
        "its checksum does not match: it is not what was written";
    static constexpr const char* kChangedMeanwhile =
        "another program has saved to it since it was read";
    static constexpr const char* kDamagedState = "what the file says of itself is damaged";

    /// The schema is compared as a whole, so that no view, trigger or default of a stranger's file
    /// ever runs.
    void acceptSchema()
    {
        using Kind = SqliteFault::Kind;
        const std::int64_t version = data_.number("PRAGMA user_version");
        if (data_.number("PRAGMA application_id") != kApplication)
            throw SqliteFault(Kind::other, "it is a data base of another application");
        if (version > kSchema)
            throw SqliteFault(Kind::other, "it was written by a later version of this program "
                                           "(its form is " +
                                               std::to_string(version) + ", this one knows " +
                                               std::to_string(kSchema) + ")");
        // No form has gone before this one; its successor reads it here.
        if (version != kSchema)
            throw SqliteFault(Kind::other, "it has the unknown form " + std::to_string(version));
        SqliteStatement select(data_, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
        std::set<std::string, std::less<>> tables;
        while (select.step() && tables.size() <= kTables.size())
            tables.emplace(select.text(0));
        if (tables != std::set<std::string, std::less<>>(kTables.begin(), kTables.end()))
            throw SqliteFault(Kind::other, "its tables are not those of a store");
    }

    /// Nothing when there is no row or it names no store. @param sound  whether it is what was
    /// written; a damaged one still tells one state from another.
    std::optional<StoreState> readState(bool& sound)
    {
        sound = false;
        SqliteStatement select(data_, "SELECT id, generation, objects, names, checksum FROM store "
                                      "WHERE one = 1");
        if (!select.step())
            return std::nullopt;
        const StoreState state{
            {idFrom(select.bytes(0)), static_cast<std::uint64_t>(select.number(1))},
            select.number(2),
            select.number(3)};
        sound = state.checksum() == select.number(4);
        if (!state.mark.store.valid())
            return std::nullopt;
        return state;
    }

    std::vector<ObjectName> readNames(Findings* findings)
    {
        std::vector<ObjectName> names;
        namesSeen_ = 0;
        try {
            SqliteStatement select(data_, "SELECT owner, role, position, object, checksum "
                                          "FROM name");
            for (; select.step(); ++namesSeen_) {
                ObjectName name{idFrom(select.bytes(0)), std::string(select.text(1)),
                                static_cast<std::uint32_t>(select.number(2)),
                                idFrom(select.bytes(3))};
                if (checksumOf(name) == select.number(4) && select.number(2) == name.position)
                    names.push_back(std::move(name));
                else if (findings)
                    report(*findings, {name.object, {}, {}},
                           "a name of it is damaged: " + std::string(kWrongChecksum));
            }
        } catch (const SqliteFault& fault) {
            if (fault.kind() != SqliteFault::Kind::damaged)
                throw;
            if (findings)
                report(*findings, {}, "the table of names cannot be read to its end");
        }
        return names;
    }

    /// @return how many rows there are, damaged ones included.
    std::int64_t readObjects(const Reader& reader, Findings& findings)
    {
        std::int64_t last = INT64_MIN;
        std::int64_t rows = 0;
        const auto walk = [&](const char* order, bool forwards) {
            SqliteStatement select(data_, (std::string(kSelectRow) + order).c_str());
            for (; select.step(); ++rows) {
                const std::int64_t number = select.number(5);
                if (forwards)
                    last = number;
                else if (number <= last)
                    break;
                ObjectRow row;
                if (isSound(select, row))
                    reader(row);
                else
                    report(findings, {row.id, std::string(row.className), {}}, kWrongChecksum);
            }
        };
        try {
            walk("NOT INDEXED ORDER BY number", true);
        } catch (const SqliteFault& fault) {
            if (fault.kind() != SqliteFault::Kind::damaged)
                throw;
            report(findings, {}, "the table of objects cannot be read to its end");
            // What lies behind the damage can be reached from the other end.
            try {
                walk("NOT INDEXED ORDER BY number DESC", false);
            } catch (const SqliteFault&) {
            }
        }
        return rows;
    }

    void replaceObjects(TableWriter& writer, std::span<const ObjectRow> rows, bool keepsUnreadable)
    {
        // By number, not by identity: an index that is damaged must not double a row.
        std::map<IdStamp, std::int64_t> present;
        std::vector<std::int64_t> superfluous;
        {
            SqliteStatement select(data_, "SELECT number, id FROM object NOT INDEXED");
            while (select.step())
                if (!present.emplace(idFrom(select.bytes(1)), select.number(0)).second)
                    superfluous.push_back(select.number(0));
        }
        for (const ObjectRow& row : rows) {
            const auto found = present.find(row.id);
            if (found == present.end()) {
                writer.insert(row);
            } else {
                writer.update(found->second, row);
                present.erase(found);
            }
        }
        for (const auto& [id, number] : present)
            superfluous.push_back(number);

        SqliteStatement select(data_, (std::string(kSelectRow) + "WHERE number = ?").c_str());
        SqliteStatement erase(data_, "DELETE FROM object WHERE number = ?");
        for (const std::int64_t number : superfluous) {
            ObjectRow row;
            const bool kept =
                keepsUnreadable && select.bind({number}).step() && !isSound(select, row);
            select.reset();
            if (!kept)
                erase.bind({number}).step();
        }
    }

    /// The mark of the state that is about to be changed by whoever has seen that one.
    /// @throws SqliteFault when something might be lost by it.
    StoreMark acceptState(const StoreMark& seen)
    {
        bool sound = false;
        const auto state = readState(sound);
        const StoreMark here = state ? state->mark : StoreMark();
        if (here == seen || !seen.store.valid())
            return here;
        if (!sound)
            throw SqliteFault(SqliteFault::Kind::damaged,
                              std::string(kDamagedState) +
                                  ", so that nobody can tell what has been saved to it since");
        if (here.store == seen.store)
            throw SqliteFault(SqliteFault::Kind::other,
                              (seen == mark_ ? "" : "it is a copy of another state, or ") +
                                  std::string(kChangedMeanwhile));
        return here;
    }

    /// One transaction. @param seen  of the state that the caller wants to change.
    template <class Work>
    bool save(const StoreMark& seen, std::string& error, const Work& work)
    {
        try {
            StoreState state;
            {
                SqliteTransaction transaction(data_, true);
                const StoreMark former = acceptState(seen);
                TableWriter writer(data_);
                work(writer, former);
                state = {{former.store.valid() ? former.store : IdStamp(), freshGeneration()},
                         data_.number("SELECT count(*) FROM object"),
                         data_.number("SELECT count(*) FROM name")};
                writer.write(state);
                transaction.commit();
            }
            mark_ = state.mark;
        } catch (const SqliteFault& fault) {
            error = name_ + " was not saved: " + fault.what() + "; it is as it was";
            return false;
        }
        try {
            // The save is safe already; this moves it into the file itself, as far as no reader
            // still needs the former state.
            data_.run("PRAGMA wal_checkpoint(PASSIVE)");
        } catch (const SqliteFault&) {
        }
        return true;
    }

    static void report(Findings& findings, ObjectFinding finding, std::string_view text)
    {
        if (findings.size() > kMostFindings)
            return;
        finding.text = findings.size() == kMostFindings ? "there is more" : text;
        findings.push_back(std::move(finding));
    }

    static void reportCount(Findings& findings, std::int64_t expected, std::int64_t found,
                            const char* what)
    {
        report(findings, {},
               "it should hold " + std::to_string(expected) + " " + what + ", but " +
                   std::to_string(found) + " were found");
    }

    Sqlite data_;
    std::string name_;
    StoreMark mark_;
    std::int64_t namesSeen_ = 0;
};

} // namespace

std::unique_ptr<ObjectFile> openTables(const std::filesystem::path& path, Sqlite::Access access)
{
    return std::make_unique<SqliteObjectFile>(path, access);
}

} // namespace cel::detail
