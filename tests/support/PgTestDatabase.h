#pragma once

#include <memory>
#include <string>

#include "db/PgDatabase.h"

namespace ormex::test {

// The throwaway PostgreSQL cluster CTest starts for the tests (scripts/pg-test-cluster.sh): its
// folder comes in ORMEX_PG_CLUSTER. Empty when the variable is not set (a test binary run by
// hand): the tests then skip.
std::string pgClusterUrl(const std::string& database = "postgres");

// A new, empty database of that cluster with a name of its own, dropped afterwards.
class PgTestDatabase
{
public:
    PgTestDatabase();
    ~PgTestDatabase();
    PgTestDatabase(const PgTestDatabase&) = delete;
    PgTestDatabase& operator=(const PgTestDatabase&) = delete;

    const std::string& url() const { return m_url; }
    db::PgDatabase& db() { return *m_db; }

private:
    std::string m_name;
    std::string m_url;
    std::unique_ptr<db::PgDatabase> m_db;
};

} // namespace ormex::test
