#include "SharedDatabases.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <unordered_map>

#include "CardSeal.h"
#include "CardWriteLocks.h"
#include "SchemaUpgrade.h"
#include "sql/DbError.h"

namespace ormex::db {

namespace {

struct FileIdentity
{
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity& other) const
    {
        return device == other.device && inode == other.inode;
    }
};

bool identify(const std::string& path, FileIdentity& identity)
{
    struct stat info
    {
    };
    if (::stat(path.c_str(), &info) != 0) return false;
    identity = {info.st_dev, info.st_ino};
    return true;
}

struct Shared
{
    std::unique_ptr<Database> db;
    FileIdentity file;
};

struct Server
{
    std::unique_ptr<PgDatabase> db;
    PgConnection::Clock::time_point unansweredAt{}; // when opening it last ran out of time
};

struct Registry
{
    pid_t owner = ::getpid();
    std::unordered_map<std::string, Shared> connections;
    std::unordered_map<std::string, Server> servers;

    // Connections inherited from a parent process belong to it: they are let go unclosed, since
    // closing them here could disturb the parent's locks (or end its server session).
    void adoptAfterFork()
    {
        if (owner == ::getpid()) return;
        for (auto& [path, shared] : connections)
            static_cast<void>(shared.db.release());
        connections.clear();
        for (auto& [url, server] : servers)
            static_cast<void>(server.db.release());
        servers.clear();
        owner = ::getpid();
    }

    // Closes the connections whose file is gone or was replaced.
    void prune()
    {
        for (auto it = connections.begin(); it != connections.end();) {
            FileIdentity now;
            if (!identify(it->first, now) || !(now == it->second.file))
                it = connections.erase(it);
            else
                ++it;
        }
    }
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

Database& sharedDatabase(const std::string& path)
{
    Registry& r = registry();
    r.adoptAfterFork();
    FileIdentity file;
    const bool exists = identify(path, file);
    auto found = r.connections.find(path);
    if (found != r.connections.end()) {
        if (exists && found->second.file == file) {
            // A connection opened before this process had its seal key takes it now.
            if (sealKey() && !sealsCards(*found->second.db)) installSealing(*found->second.db);
            return *found->second.db;
        }
        r.connections.erase(found);
    }
    r.prune();
    auto db = Database::open(path); // throws for a missing file
    upgradeWhenOpened(*db);
    if (!exists) identify(path, file);
    Database& opened = *db;
    r.connections.emplace(path, Shared{std::move(db), file});
    return opened;
}

PgDatabase& sharedPgDatabase(const std::string& url, std::chrono::milliseconds deadline)
{
    using Clock = PgConnection::Clock;
    Registry& r = registry();
    r.adoptAfterFork();
    Server& server = r.servers[url];
    const Clock::time_point unanswered =
        server.db ? std::max(server.unansweredAt, server.db->lastUnanswered()) : server.unansweredAt;
    if (unanswered != Clock::time_point() && Clock::now() - unanswered < deadline)
        throw UnreachableError(deadline);
    if (server.db) {
        // Kept even when it does not answer: a connection handed out before may still be in use.
        server.db->setDeadline(deadline);
        if (server.db->alive()) return *server.db;
        if (server.db->lastUnanswered() != unanswered) throw UnreachableError(deadline);
        throw OpenError("cannot connect to PostgreSQL: the server does not answer");
    }
    try {
        auto db = PgDatabase::open(url, deadline);
        requireCurrentSchema(*db, url); // not kept: opened again, and checked again, next time
        server.db = std::move(db);
    } catch (const UnreachableError&) {
        server.unansweredAt = Clock::now();
        throw;
    }
    server.db->setWriteLockPlanner(cardWriteLocks); // branches wait for each other only on the same card
    return *server.db;
}

} // namespace ormex::db
