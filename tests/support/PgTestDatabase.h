#pragma once

#include <memory>
#include <string>

#include "sql/PgDatabase.h"

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
    const std::string& name() const { return m_name; }
    // The loopback port of the cluster.
    std::string port() const;
    // How a branch's headquarters setting names this database: "server,port/catalog/user/password".
    std::string setting() const { return "127.0.0.1," + port() + "/" + m_name + "/postgres/secret"; }
    db::PgDatabase& db() { return *m_db; }

private:
    std::string m_name;
    std::string m_url;
    std::unique_ptr<db::PgDatabase> m_db;
};

} // namespace ormex::test
