#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/hq/HqLink.h"
#include "store/PgCopy.h"
#include "store/PgSchema.h"
#include "support/PgTestDatabase.h"
#include "support/TestHost.h"

namespace ormex::test {

// Headquarters on the PostgreSQL test cluster: the rows the fixture gave HQ.db copied into a fresh
// database there, and the branch's headquarters setting pointed at it.
class PgHeadquarters
{
public:
    explicit PgHeadquarters(TestHost& host)
    {
        db::applySchema(pg.db());
        db::copyRows(host.hq().db(), pg.db());
        host.setHeadquartersSetting(pg.setting());
        module::hq::ResetHQConnectionText();
    }

    // Rows of a T-SQL query at headquarters, as TestDatabase::rows gives them.
    std::vector<std::string> rows(const std::string& sql)
    {
        pg.db().alive(); // opened again after goAway()
        return rowsOf(pg.db(), sql);
    }
    void execute(const std::string& batch)
    {
        pg.db().alive();
        pg.db().execute(batch);
    }

    // Headquarters goes away in the middle of the session: every connection to it is ended and it
    // takes no new ones until comeBack().
    void goAway()
    {
        auto admin = db::PgDatabase::open(pgClusterUrl());
        admin->executeNative("ALTER DATABASE " + pg.name() + " ALLOW_CONNECTIONS false");
        admin->queryNative("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                           pg.name() + "'");
    }
    void comeBack()
    {
        db::PgDatabase::open(pgClusterUrl())
            ->executeNative("ALTER DATABASE " + pg.name() + " ALLOW_CONNECTIONS true");
    }

    PgTestDatabase pg;
};

} // namespace ormex::test

// The tests need the cluster CTest starts; run by hand without it they skip.
#define SKIP_WITHOUT_PG_CLUSTER()                                                                            \
    if (::ormex::test::pgClusterUrl().empty())                                                               \
    GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)"
