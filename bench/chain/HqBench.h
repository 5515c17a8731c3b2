// What the benchmarks of a PostgreSQL headquarters share: the throwaway cluster they run on, fresh
// databases of generated cards, and the figures they print.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "sql/PgDatabase.h"

namespace ormex::bench {

// The cluster of scripts/pg-test-cluster.sh: the one named by ORMEX_PG_CLUSTER, or one started
// for the benchmark in a folder of its own and stopped when it ends.
class BenchCluster
{
public:
    BenchCluster();
    ~BenchCluster();
    BenchCluster(const BenchCluster&) = delete;
    BenchCluster& operator=(const BenchCluster&) = delete;

    // A URL of a database of the cluster.
    std::string url(const std::string& database) const;

private:
    std::string m_folder;
    bool m_started = false;
    std::string m_port;
};

// The session of the branches' batches.
inline constexpr const char* kBranchId = "1";
inline constexpr const char* kBranchNo = "01";
inline constexpr const char* kUserId = "7";
inline constexpr double kOpeningBalance = 1000;
inline constexpr double kOpeningPoints = 100000;

// A new database of the cluster with the schema and `cards` cards ("C000001" …) of 1000 yuan and
// 100,000 points, each with a totals row of every branch 1 … `branches` (so that every replayed
// use of points changes the card at headquarters), and headquarters' settings. Sealing follows
// this process's seal key. Dropped with the object.
class HqDatabase
{
public:
    HqDatabase(const BenchCluster& cluster, const std::string& name, long cards, int branches);
    ~HqDatabase();
    HqDatabase(const HqDatabase&) = delete;
    HqDatabase& operator=(const HqDatabase&) = delete;

    const std::string& url() const { return m_url; }
    // A connection of a branch: locking as headquarters' connections do.
    std::unique_ptr<db::PgDatabase> connect() const;
    db::PgDatabase& admin() { return *m_admin; }

private:
    const BenchCluster& m_cluster;
    std::string m_name;
    std::string m_url;
    std::unique_ptr<db::PgDatabase> m_admin;
};

std::string cardId(long i);

// Seconds since `start`.
inline double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The value below which the given share (0 … 1) of the sorted values lie.
double percentile(std::vector<double> values, double share);

// Prints a table: headings, then rows, columns aligned (the first to the left).
void printTable(const std::string& title, const std::vector<std::string>& headings,
                const std::vector<std::vector<std::string>>& rows);

std::string fixed(double value, int decimals);

} // namespace ormex::bench
