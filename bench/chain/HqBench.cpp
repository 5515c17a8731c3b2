#include "HqBench.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "platform/BalanceCodec.h"
#include "platform/Text.h"
#include "store/CardWriteLocks.h"
#include "store/PgSchema.h"

namespace ormex::bench {

namespace {

std::string clusterScript()
{
    return std::string(ORMEX_SOURCE_DIR) + "/scripts/pg-test-cluster.sh";
}

} // namespace

BenchCluster::BenchCluster()
{
    if (const char* folder = std::getenv("ORMEX_PG_CLUSTER"); folder && *folder) {
        m_folder = folder;
    } else {
        char pattern[] = "/tmp/ormex-bench-pg-XXXXXX";
        if (!mkdtemp(pattern)) throw std::runtime_error("cannot make a folder for the cluster");
        m_folder = pattern;
        const std::string start = "bash '" + clusterScript() + "' start '" + m_folder + "' >/dev/null";
        if (std::system(start.c_str()) != 0) throw std::runtime_error("cannot start the PostgreSQL cluster");
        m_started = true;
    }
    std::ifstream in(m_folder + "/port");
    if (!(in >> m_port)) throw std::runtime_error("no running cluster in " + m_folder);
}

BenchCluster::~BenchCluster()
{
    if (!m_started) return;
    const std::string stop = "bash '" + clusterScript() + "' stop '" + m_folder + "' >/dev/null";
    if (std::system(stop.c_str()) != 0) std::cerr << "could not stop the cluster in " << m_folder << "\n";
}

std::string BenchCluster::url(const std::string& database) const
{
    return "postgresql://postgres@127.0.0.1:" + m_port + "/" + database;
}

std::string cardId(long i)
{
    char id[16];
    std::snprintf(id, sizeof id, "C%06ld", i);
    return id;
}

HqDatabase::HqDatabase(const BenchCluster& cluster, const std::string& name, long cards, int branches)
    : m_cluster(cluster), m_name(name)
{
    {
        auto server = db::PgDatabase::open(cluster.url("postgres"));
        server->queryNative("DROP DATABASE IF EXISTS " + name + " WITH (FORCE)");
        server->queryNative("CREATE DATABASE " + name);
    }
    m_url = cluster.url(name);
    // Loading the cards and every branch's totals takes the server longer than a till's call may
    // stay silent (64 branches of 30,000 cards are two million rows).
    m_admin = db::PgDatabase::open(m_url, std::chrono::minutes(10));
    db::applySchema(*m_admin);
    const std::string balance =
        platform::quoted(platform::encodeBalance(platform::Money::ofDouble(kOpeningBalance)));
    m_admin->executeNative(
        "INSERT INTO T_Pos_VipType (FTypeId, type_name, FAccFlag, FSavingFlag) VALUES ('01', '银卡', 1, 1);"
        "INSERT INTO t_SystemProfile (FCategory, FKey, FValue) VALUES ('ic', 'g_branch_no', '00'),"
        " ('ic', 'is_branch', '0');"
        "INSERT INTO T_Pos_VipRecord (FCardId, FCardStatus, FCardType, FAccNum, FDecNum, FResidualAmt,"
        " FSavingFlag, FAccFlag, FVipEndDate)"
        " SELECT 'C' || lpad(i::text, 6, '0'), '0', '01', " +
        std::to_string(static_cast<long>(kOpeningPoints)) + ", 0, " + balance +
        ", 1, 1, '2030-12-31' FROM generate_series(1, " + std::to_string(cards) +
        ") AS i;"
        "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno, FVipMinusTotalNum, FComFlag)"
        " SELECT 'C' || lpad(i::text, 6, '0'), b, lpad(b::text, 2, '0'), 0, '1'"
        " FROM generate_series(1, " +
        std::to_string(cards) + ") AS i, generate_series(1, " + std::to_string(branches) +
        ") AS b;"
        "ANALYZE");
}

HqDatabase::~HqDatabase()
{
    m_admin.reset();
    try {
        db::PgDatabase::open(m_cluster.url("postgres"))
            ->queryNative("DROP DATABASE IF EXISTS " + m_name + " WITH (FORCE)");
    } catch (const std::exception&) {
        // The cluster goes with its folder.
    }
}

std::unique_ptr<db::PgDatabase> HqDatabase::connect() const
{
    auto connection = db::PgDatabase::open(m_url);
    connection->setWriteLockPlanner(db::cardWriteLocks);
    return connection;
}

double percentile(std::vector<double> values, double share)
{
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const auto at = static_cast<std::size_t>(share * static_cast<double>(values.size() - 1) + 0.5);
    return values[std::min(at, values.size() - 1)];
}

std::string fixed(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

void printTable(const std::string& title, const std::vector<std::string>& headings,
                const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> widths;
    for (const std::string& heading : headings)
        widths.push_back(platform::utf8Length(heading));
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size() && c < widths.size(); ++c)
            widths[c] = std::max(widths[c], platform::utf8Length(row[c]));
    auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (std::size_t c = 0; c < cells.size() && c < widths.size(); ++c) {
            const std::string pad(widths[c] - platform::utf8Length(cells[c]), ' ');
            text += (c ? "  " : "") + (c ? pad + cells[c] : cells[c] + pad);
        }
        std::cout << text << "\n";
    };
    std::cout << "\n" << title << "\n";
    line(headings);
    std::vector<std::string> rule;
    for (std::size_t w : widths)
        rule.push_back(std::string(w, '-'));
    line(rule);
    for (const auto& row : rows)
        line(row);
    std::cout.flush();
}

} // namespace ormex::bench
