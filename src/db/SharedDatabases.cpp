#include "SharedDatabases.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <unordered_map>

#include "CardSeal.h"
#include "CardWriteLocks.h"
#include "SchemaUpgrade.h"

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

struct Registry
{
    pid_t owner = ::getpid();
    std::unordered_map<std::string, Shared> connections;
    std::unordered_map<std::string, std::unique_ptr<PgDatabase>> servers;

    // Connections inherited from a parent process belong to it: they are let go unclosed, since
    // closing them here could disturb the parent's locks (or end its server session).
    void adoptAfterFork()
    {
        if (owner == ::getpid()) return;
        for (auto& [path, shared] : connections)
            static_cast<void>(shared.db.release());
        connections.clear();
        for (auto& [url, server] : servers)
            static_cast<void>(server.release());
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
            if (sealKey() && !found->second.db->sealsCards()) installSealing(*found->second.db);
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

PgDatabase& sharedPgDatabase(const std::string& url)
{
    Registry& r = registry();
    r.adoptAfterFork();
    auto found = r.servers.find(url);
    if (found != r.servers.end()) {
        if (found->second->alive()) return *found->second;
        r.servers.erase(found);
        throw OpenError("cannot connect to PostgreSQL: the server does not answer");
    }
    auto db = PgDatabase::open(url);
    requireCurrentSchema(*db, url);          // not kept: opened again, and checked again, next time
    db->setWriteLockPlanner(cardWriteLocks); // branches wait for each other only on the same card
    PgDatabase& opened = *db;
    r.servers.emplace(url, std::move(db));
    return opened;
}

} // namespace ormex::db
