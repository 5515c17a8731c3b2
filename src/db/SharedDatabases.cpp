#include "SharedDatabases.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <unordered_map>

#include "Schema.h"

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

    // Connections inherited from a parent process belong to it: they are let go unclosed, since
    // closing them here could disturb the parent's locks.
    void adoptAfterFork()
    {
        if (owner == ::getpid()) return;
        for (auto& [path, shared] : connections)
            static_cast<void>(shared.db.release());
        connections.clear();
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
        if (exists && found->second.file == file) return *found->second.db;
        r.connections.erase(found);
    }
    r.prune();
    auto db = Database::open(path); // throws for a missing file
    upgradeSchema(*db);
    if (!exists) identify(path, file);
    Database& opened = *db;
    r.connections.emplace(path, Shared{std::move(db), file});
    return opened;
}

} // namespace ormex::db
