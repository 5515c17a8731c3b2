#include "FrozenBackends.h"

#include <signal.h>

#include <chrono>
#include <thread>

#include "PgTestDatabase.h"

namespace ormex::test {

FrozenBackends::FrozenBackends(std::string database, bool now) : m_database(std::move(database))
{
    if (!now) return;
    for (const int pid : serving())
        if (::kill(pid, SIGSTOP) == 0) m_stopped.push_back(pid);
}

FrozenBackends::~FrozenBackends()
{
    try {
        thaw();
    } catch (...) {
        // Those stopped here were continued first; a process that stopped itself stays stopped
        // until the cluster stops.
    }
}

std::vector<int> FrozenBackends::serving() const
{
    // The cluster's postmaster keeps running: a connection of its own lists the database's processes.
    const auto rows = db::PgDatabase::open(pgClusterUrl())
                          ->queryNative("SELECT pid FROM pg_stat_activity WHERE datname = '" + m_database +
                                        "' AND pid <> pg_backend_pid()");
    std::vector<int> pids;
    for (std::size_t r = 0; r < rows.recordCount(); ++r)
        pids.push_back(static_cast<int>(rows.cell(r, 0).toInt()));
    return pids;
}

void FrozenBackends::thaw()
{
    for (const int pid : m_stopped)
        ::kill(pid, SIGCONT);
    for (const int pid : serving())
        ::kill(pid, SIGCONT);
}

void FrozenBackends::waitUntilGone(int pid)
{
    auto admin = db::PgDatabase::open(pgClusterUrl());
    const std::string sql = "SELECT count(*) FROM pg_stat_activity WHERE pid = " + std::to_string(pid);
    for (int tries = 0; tries < 600 && admin->queryNative(sql).cell(0, 0).toInt() > 0; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

void FrozenBackends::addSelfStop(db::PgDatabase& db)
{
    // The server runs the program as its own system user, who may stop its own processes.
    db.executeNative("CREATE FUNCTION ormex_test_stop() RETURNS integer LANGUAGE plpgsql AS $$ BEGIN"
                     " EXECUTE format('COPY (SELECT 1) TO PROGRAM %L', 'kill -STOP ' || pg_backend_pid());"
                     " RETURN 1; END $$");
}

} // namespace ormex::test
