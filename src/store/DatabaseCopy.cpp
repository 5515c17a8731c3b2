#include "DatabaseCopy.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "sql/DbError.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

namespace fs = std::filesystem;

// A plain connection of SQLite's own, without the system's functions: the copies move pages, and
// run none of the system's statements.
class PlainConnection
{
public:
    PlainConnection(const std::string& name, int flags)
    {
        if (sqlite3_open_v2(name.c_str(), &m_db, flags, nullptr) != SQLITE_OK) {
            const std::string reason = m_db ? sqlite3_errmsg(m_db) : "out of memory";
            sqlite3_close(m_db);
            throw OpenError("cannot open " + name + ": " + reason);
        }
    }
    ~PlainConnection() { sqlite3_close(m_db); }
    PlainConnection(const PlainConnection&) = delete;
    PlainConnection& operator=(const PlainConnection&) = delete;
    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
};

// The URI that opens a file as immutable: no lock is taken and nothing (no -wal, no -shm) is made
// beside it. In a URI, '%', '?' and '#' stand for themselves only when encoded.
std::string immutableUri(const std::string& path)
{
    static constexpr char kHex[] = "0123456789abcdef";
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '%' || c == '?' || c == '#') {
            uri += '%';
            uri += kHex[(static_cast<unsigned char>(c) >> 4) & 15];
            uri += kHex[static_cast<unsigned char>(c) & 15];
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

constexpr int kImmutable = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;

// SQLite reads a file at the first statement: one that is not a database fails here.
void requireDatabase(const PlainConnection& file, const std::string& path)
{
    char* err = nullptr;
    if (sqlite3_exec(file.handle(), "SELECT count(*) FROM sqlite_master", nullptr, nullptr, &err) !=
        SQLITE_OK) {
        const std::string reason = err ? err : sqlite3_errmsg(file.handle());
        sqlite3_free(err);
        throw OpenError(path + " is not a database that can be read: " + reason);
    }
}

void execute(sqlite3* db, const char* sql)
{
    char* err = nullptr;
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &err);
    if (rc != SQLITE_OK) {
        const std::string reason = err ? err : sqlite3_errmsg(db);
        sqlite3_free(err);
        throwSqliteError(rc, reason);
    }
}

// Copies every page of `from` over `to` with SQLite's online backup, kCopyPagesPerStep pages at a
// time. `to` is written in one transaction that is committed by the last step. A lock held by
// another connection is waited for, for as long as a connection of the system waits for one.
void copyPages(sqlite3* from, sqlite3* to)
{
    sqlite3_backup* backup = sqlite3_backup_init(to, "main", from, "main");
    if (!backup) throwSqliteError(sqlite3_extended_errcode(to), sqlite3_errmsg(to));
    using Clock = std::chrono::steady_clock;
    auto givingUp = Clock::now() + Database::kBusyTimeout;
    int rc = SQLITE_OK;
    for (;;) {
        rc = sqlite3_backup_step(backup, kCopyPagesPerStep);
        if (rc == SQLITE_OK) {
            givingUp = Clock::now() + Database::kBusyTimeout;
        } else if ((rc == SQLITE_BUSY || rc == SQLITE_LOCKED) && Clock::now() < givingUp) {
            sqlite3_sleep(20);
        } else {
            break;
        }
    }
    const int finished = sqlite3_backup_finish(backup);
    if (rc != SQLITE_DONE) throwSqliteError(finished, sqlite3_errmsg(to));
}

long cardCount(sqlite3* db)
{
    SqliteStatement count(db, "SELECT count(*) FROM T_Pos_VipRecord");
    return count.step() ? static_cast<long>(count.column(0).toInt()) : 0;
}

} // namespace

long copyDatabaseTo(Database& from, const std::string& to)
{
    // A deferred transaction: its snapshot is taken by the first read, the count of the cards.
    from.executeNative("BEGIN");
    try {
        const long cards = cardCount(from.handle());
        {
            PlainConnection copy(to, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
            copyPages(from.handle(), copy.handle());
            // The pages came with the source's write-ahead-log mode.
            execute(copy.handle(), "PRAGMA journal_mode=DELETE");
        }
        from.executeNative("COMMIT");
        return cards;
    } catch (...) {
        sqlite3_exec(from.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void copyDatabaseFile(const std::string& from, const std::string& to)
{
    const PlainConnection source(immutableUri(from), kImmutable);
    requireDatabase(source, from);
    PlainConnection copy(to, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    copyPages(source.handle(), copy.handle());
}

void copyDatabaseInto(const std::string& from, Database& to)
{
    const PlainConnection source(immutableUri(from), kImmutable);
    requireDatabase(source, from);
    copyPages(source.handle(), to.handle());
}

std::string newFileBeside(const std::string& path, const std::string& purpose)
{
    std::string name = path + "." + purpose + "-XXXXXX";
    std::vector<char> buffer(name.begin(), name.end());
    buffer.push_back('\0');
    const int fd = mkstemp(buffer.data());
    if (fd < 0)
        throw DbError("cannot make a file beside " + path + ": " + std::strerror(errno) +
                      " (does the folder exist, may it be written?)");
    ::close(fd);
    return buffer.data();
}

void publishFile(const std::string& temporary, const std::string& path)
{
    std::error_code error;
    // A hard link never replaces a file of that name, as a rename would.
    fs::create_hard_link(temporary, path, error);
    if (error == std::errc::file_exists) throw DbError(path + " exists already: it is never replaced");
    if (error) throw DbError("cannot name the copy " + path + ": " + error.message());
    fs::remove(temporary, error);
    // The new name is durable once its folder is.
    const fs::path folder = fs::path(path).parent_path();
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

void removeDatabaseFiles(const std::string& path)
{
    std::error_code ignored;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        fs::remove(path + suffix, ignored);
}

} // namespace ormex::db
