#pragma once

#include <string>
#include <vector>

#include "sql/PgDatabase.h"

namespace ormex::test {

// Server processes of the PostgreSQL test cluster stopped for real (SIGSTOP), which is how a hung
// server or a dead link looks to a client, and continued (SIGCONT) when the object goes, however
// the test ends. Only the processes serving one database stop: tests of other databases of the
// cluster go on meanwhile.
class FrozenBackends
{
public:
    // Stops every server process that serves `database` now; with `now` false none yet (a process
    // may stop itself: addSelfStop).
    explicit FrozenBackends(std::string database, bool now = true);
    ~FrozenBackends();
    FrozenBackends(const FrozenBackends&) = delete;
    FrozenBackends& operator=(const FrozenBackends&) = delete;

    // Continues every process that serves the database: those stopped here and those that stopped
    // themselves.
    void thaw();
    // Waits until the server process `pid` has ended (a session the client gave up on ends when
    // it reads the closed connection), at most 30 s.
    static void waitUntilGone(int pid);

    // Adds the function ormex_test_stop() to a database: the server process that calls it stops
    // itself there, in the middle of its statement.
    static void addSelfStop(db::PgDatabase& db);

private:
    std::vector<int> serving() const;

    std::string m_database;
    std::vector<int> m_stopped;
};

} // namespace ormex::test
