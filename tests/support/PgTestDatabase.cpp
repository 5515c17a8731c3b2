#include "PgTestDatabase.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace ormex::test {

std::string pgClusterUrl(const std::string& database)
{
    const char* folder = std::getenv("ORMEX_PG_CLUSTER");
    if (!folder || !*folder) return {};
    std::ifstream in(std::string(folder) + "/port");
    std::string port;
    if (!(in >> port)) throw std::runtime_error(std::string("no running test cluster in ") + folder);
    return "postgresql://postgres@127.0.0.1:" + port + "/" + database;
}

PgTestDatabase::PgTestDatabase()
{
    // Test processes run in parallel against one cluster: the process id keeps names apart.
    static std::atomic<int> counter{0};
    m_name = "ormex_test_" + std::to_string(getpid()) + "_" + std::to_string(counter++);
    auto admin = db::PgDatabase::open(pgClusterUrl());
    admin->queryNative("DROP DATABASE IF EXISTS " + m_name);
    admin->queryNative("CREATE DATABASE " + m_name);
    m_url = pgClusterUrl(m_name);
    m_db = db::PgDatabase::open(m_url);
}

std::string PgTestDatabase::port() const
{
    // postgresql://postgres@127.0.0.1:<port>/<name>
    const std::size_t colon = m_url.rfind(':');
    return m_url.substr(colon + 1, m_url.rfind('/') - colon - 1);
}

PgTestDatabase::~PgTestDatabase()
{
    m_db.reset();
    try {
        db::PgDatabase::open(pgClusterUrl())
            ->queryNative("DROP DATABASE IF EXISTS " + m_name + " WITH (FORCE)");
    } catch (const std::exception&) {
        // The cluster is removed with its folder when the tests end.
    }
}

} // namespace ormex::test
