#include "BothEngines.h"

#include <unistd.h>

#include <algorithm>
#include <map>

#include "platform/BalanceCodec.h"
#include "platform/HostServices.h"
#include "platform/Text.h"
#include "sql/SqliteStatement.h"
#include "store/CardLedger.h"
#include "store/CardSeal.h"
#include "store/DemoData.h"
#include "store/LargeData.h"
#include "store/PgCopy.h"
#include "store/PgSchema.h"

namespace ormex::test {

namespace {

using platform::Value;

class FixedSystem : public platform::SystemInfo
{
public:
    std::optional<std::string> computerName() const override { return std::string("till-7"); }
    int readTcp(std::string& out) const override
    {
        out = "10.1.2.7";
        return 1;
    }
    long processId() const override { return getpid(); }
};

// Rows for the situations the batches tell apart, besides the demo's: totals rows of another
// branch, a totals row whose sums are null, a stored-value card whose number the operator types in
// another case, and keys given to rows that are gone (changes already sent to headquarters).
std::string situationRows()
{
    return "BEGIN;"
           // Cards 88000002..4 have points at branch 3 only; 88000006 has a row at branch 2 whose
           // sums were never written. Their demo totals make way.
           "DELETE FROM T_Pos_VipConsume WHERE FCardId IN ('88000002', '88000003', '88000004', '88000006');"
           "INSERT INTO T_Pos_VipConsume (FCardId, Fbranchid, FBranchno, FVipCurAccNum, FVipAccNum,"
           " FVipMinusTotalNum, FComFlag) VALUES"
           " ('88000002', 3, '02', 40, 40, 5, '0'), ('88000003', 3, '02', 12.5, 12.5, 0, '1'),"
           " ('88000004', 3, '02', 0, 0, 0, '0'),"
           " ('88000006', 2, '01', NULL, NULL, NULL, '1');"
           "INSERT INTO T_Pos_VipRecord (FCardId, FCardFlowno, FVipName, mobile, FCardType, FCardStatus,"
           " FVipStartDate, FVipEndDate, FAccNum, FDecNum, FResidualAmt, FPlusAmt, FSavingFlag, FAccFlag,"
           " password, FBranchno, FOperDate, FVipTax, memo) VALUES ('" +
           std::string(kMixedCaseCard) +
           "', 'F-AB01', '欧阳 Ab', '13700000001', '02', '0', '2025-01-01', '2027-12-31', 300.5, 20.25, '" +
           platform::quoteDoubled(platform::encodeBalance(std::string_view("55.5"))) +
           "', 100, 1, 1, 'pw''1', '01', '2025-01-01', 0.1, 'tab\there, back\\slash,\r\nnext line');"
           "INSERT INTO t_HqOutbox (FOrigin, FBatch) VALUES ('sent', 'a'), ('sent', 'b'), ('sent', 'c');"
           "DELETE FROM t_HqOutbox;"
           "COMMIT;";
}

// Every table of the schema with its columns and key columns, as SQLite describes it.
struct Table
{
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::size_t> key; // positions in columns
};

std::vector<Table> tablesOf(db::Database& db)
{
    std::vector<Table> tables;
    db::SqliteStatement list(db.handle(), "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT "
                                          "LIKE 'sqlite_%' ORDER BY name");
    while (list.step()) {
        Table t;
        t.name = list.column(0).toString();
        db::SqliteStatement info(db.handle(), "SELECT name, pk FROM pragma_table_info(?1) ORDER BY cid");
        info.bind(1, Value(t.name));
        std::vector<std::pair<std::int64_t, std::size_t>> key;
        while (info.step()) {
            if (const std::int64_t pk = info.column(1).toInt(); pk > 0)
                key.emplace_back(pk, t.columns.size());
            t.columns.push_back(info.column(0).toString());
        }
        std::sort(key.begin(), key.end());
        for (const auto& [order, at] : key)
            t.key.push_back(at);
        tables.push_back(std::move(t));
    }
    return tables;
}

using Row = std::vector<Value>;

std::string describe(const Value& v)
{
    if (v.isNull()) return "NULL";
    if (v.isText()) return "'" + v.toString() + "'";
    return v.toString();
}

std::string keyOf(const Row& row, const std::vector<std::size_t>& key)
{
    std::string text;
    for (std::size_t at : key)
        text += (text.empty() ? "" : ", ") + describe(row[at]);
    return text;
}

// Rows in the order of their text, so that rows that are the same stand at the same place.
std::vector<Row> sortedRows(std::vector<Row> rows)
{
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
        for (std::size_t c = 0; c < a.size() && c < b.size(); ++c) {
            const std::string x = a[c].toString(), y = b[c].toString();
            if (x != y) return x < y;
        }
        return a.size() < b.size();
    });
    return rows;
}

std::vector<Row> rowsOf(const platform::Recordset& rs)
{
    std::vector<Row> rows;
    for (std::size_t r = 0; r < rs.recordCount(); ++r) {
        Row row;
        for (std::size_t c = 0; c < rs.columns().size(); ++c)
            row.push_back(rs.cell(r, c));
        rows.push_back(std::move(row));
    }
    return rows;
}

} // namespace

bool sameAsRead(const Value& a, const Value& b)
{
    if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
    if (a.isNumber() && b.isNumber()) return a.toDouble() == b.toDouble();
    if (a.isText() && b.isText()) return a.toString() == b.toString();
    return a.toString() == b.toString();
}

void BothEngines::SetUp()
{
    if (pgClusterUrl().empty()) GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    m_clock = std::make_unique<ScopedClock>(2026, 11, 23, 10, 30, 15);
    m_sqlite = std::make_unique<TestDatabase>();
    db::seedDemo(sqlite(), db::DemoRole::Branch);
    db::generateCards(sqlite(), 500); // balances of every size, encoded as the screens read them
    m_sqlite->exec(situationRows());
    // The card those rows make holds values no movement explains: its ledger starts from them.
    db::startLedgers(sqlite(), {kMixedCaseCard}, "开户余额");

    m_pg = std::make_unique<PgTestDatabase>();
    db::applySchema(pg());
    db::copyRows(sqlite(), pg());
    ASSERT_GT(expectSameRows(), 0u);
    ASSERT_FALSE(HasFailure()) << "the copy starts both from the same rows";

    // The host session that the log row and the queue for headquarters read.
    auto& services = platform::HostServices::instance();
    services.reset();
    services.setSystemInfo(std::make_shared<FixedSystem>());
    host::HostConfig config;
    config.dataFolder = m_sqlite->folder();
    config.databaseFile = "test.db";
    config.userId = std::stoi(kUserId);
    config.branchId = kOwnBranchId;
    config.branchNum = kOwnBranchNo;
    config.sealKey = db::sealKeyText(test::testSealKey());
    m_host = std::make_unique<host::HostRuntime>(config);
}

void BothEngines::TearDown()
{
    m_host.reset();
    platform::HostServices::instance().reset();
    m_pg.reset();
    m_sqlite.reset();
    m_clock.reset();
}

void BothEngines::runOnBoth(const std::string& batch)
{
    ASSERT_NO_THROW(sqlite().execute(batch)) << "SQLite refused the batch:\n" << batch;
    try {
        pg().execute(batch);
    } catch (const std::exception& error) {
        FAIL() << "PostgreSQL refused the batch: " << error.what() << "\n" << batch;
    }
}

void BothEngines::runCheckedOnBoth(const std::string& batch, const std::vector<platform::ReadCheck>& checks)
{
    ASSERT_NO_THROW(sqlite().executeChecked(batch, checks)) << "SQLite refused the batch:\n" << batch;
    try {
        pg().executeChecked(batch, checks);
    } catch (const std::exception& error) {
        FAIL() << "PostgreSQL refused the batch: " << error.what() << "\n" << batch;
    }
}

void BothEngines::expectRefusedOnBoth(const std::string& batch,
                                      const std::vector<platform::ReadCheck>& checks)
{
    EXPECT_THROW(sqlite().executeChecked(batch, checks), platform::ChangedSinceReadError);
    EXPECT_THROW(pg().executeChecked(batch, checks), platform::ChangedSinceReadError);
}

std::size_t BothEngines::expectSameRows()
{
    std::size_t compared = 0;
    int differences = 0;
    for (const Table& table : tablesOf(sqlite())) {
        std::map<std::string, Row> sqliteRows;
        {
            std::string list;
            for (const std::string& column : table.columns)
                list += (list.empty() ? "" : ", ") + column;
            db::SqliteStatement all(sqlite().handle(), "SELECT " + list + " FROM " + table.name);
            while (all.step()) {
                Row row;
                for (std::size_t c = 0; c < table.columns.size(); ++c)
                    row.push_back(all.column(static_cast<int>(c)));
                sqliteRows.emplace(keyOf(row, table.key), std::move(row));
            }
        }
        const auto pgSet = pg().queryNative("SELECT * FROM " + table.name);
        std::vector<std::size_t> pgColumn; // SQLite column c is PostgreSQL column pgColumn[c]
        for (const std::string& column : table.columns) {
            const auto& names = pgSet.columns();
            const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
                return platform::iequals(name, column);
            });
            if (found == names.end()) {
                ADD_FAILURE() << table.name << "." << column << " is missing on PostgreSQL";
                return compared;
            }
            pgColumn.push_back(static_cast<std::size_t>(found - names.begin()));
        }
        std::map<std::string, Row> pgRows;
        for (std::size_t r = 0; r < pgSet.recordCount(); ++r) {
            Row row;
            for (std::size_t c : pgColumn)
                row.push_back(pgSet.cell(r, c));
            pgRows.emplace(keyOf(row, table.key), std::move(row));
        }
        EXPECT_EQ(pgRows.size(), pgSet.recordCount()) << table.name << ": keys repeat on PostgreSQL";

        for (const auto& [key, row] : sqliteRows) {
            const auto other = pgRows.find(key);
            if (other == pgRows.end()) {
                if (++differences <= 20) ADD_FAILURE() << table.name << " (" << key << "): only on SQLite";
                continue;
            }
            ++compared;
            for (std::size_t c = 0; c < row.size(); ++c)
                if (!sameAsRead(row[c], other->second[c]) && ++differences <= 20)
                    ADD_FAILURE() << table.name << " (" << key << ")." << table.columns[c] << ": SQLite "
                                  << describe(row[c]) << ", PostgreSQL " << describe(other->second[c]);
        }
        for (const auto& [key, row] : pgRows)
            if (!sqliteRows.contains(key) && ++differences <= 20)
                ADD_FAILURE() << table.name << " (" << key << "): only on PostgreSQL";
    }
    if (differences > 20) ADD_FAILURE() << differences << " differences in all";
    // Whatever the batch wrote, every card still matches its seal on both engines.
    for (db::TsqlDatabase* engine :
         {static_cast<db::TsqlDatabase*>(&sqlite()), static_cast<db::TsqlDatabase*>(&pg())}) {
        const auto broken = db::sealMismatches(*engine, test::testSealKey());
        EXPECT_TRUE(broken.empty()) << broken.size() << " cards no longer match their seal, the first "
                                    << broken.front().card
                                    << (engine == &pg() ? " on PostgreSQL" : " on SQLite");
    }
    // And every card's movements stay chained (the same rows on PostgreSQL, compared above).
    const auto findings = db::ledgerFindings(sqlite());
    EXPECT_TRUE(findings.empty()) << findings.size() << " findings of the movement ledger, the first "
                                  << findings.front().card << ": " << findings.front().text;
    return compared;
}

void BothEngines::expectSameQuery(const std::string& sql, bool ordered)
{
    platform::Recordset fromSqlite, fromPg;
    ASSERT_NO_THROW(fromSqlite = sqlite().query(sql)) << sql;
    try {
        fromPg = pg().query(sql);
    } catch (const std::exception& error) {
        FAIL() << "PostgreSQL refused the query: " << error.what() << "\n" << sql;
    }
    ASSERT_EQ(fromSqlite.columns().size(), fromPg.columns().size()) << sql;
    for (std::size_t c = 0; c < fromSqlite.columns().size(); ++c)
        EXPECT_TRUE(platform::iequals(fromSqlite.columns()[c], fromPg.columns()[c]))
            << "column " << c << ": " << fromSqlite.columns()[c] << " / " << fromPg.columns()[c] << "\n"
            << sql;
    ASSERT_EQ(fromSqlite.recordCount(), fromPg.recordCount()) << sql;
    auto a = rowsOf(fromSqlite), b = rowsOf(fromPg);
    if (!ordered) {
        a = sortedRows(std::move(a));
        b = sortedRows(std::move(b));
    }
    int differences = 0;
    for (std::size_t r = 0; r < a.size(); ++r)
        for (std::size_t c = 0; c < a[r].size(); ++c)
            if (!sameAsRead(a[r][c], b[r][c]) && ++differences <= 10)
                ADD_FAILURE() << "row " << r << ", " << fromSqlite.columns()[c] << ": SQLite "
                              << describe(a[r][c]) << ", PostgreSQL " << describe(b[r][c]) << "\n"
                              << sql;
    EXPECT_GT(a.size(), 0u) << "the query reads rows: " << sql;
}

std::vector<std::string> BothEngines::cards(const std::string& condition, std::size_t count)
{
    std::vector<std::string> out;
    for (const std::string& card : m_sqlite->rows("select r.FCardId from T_Pos_VipRecord r where " +
                                                  condition + " order by r.FCardId")) {
        if (out.size() == count) break;
        out.push_back(card);
    }
    EXPECT_EQ(out.size(), count) << "cards where " << condition;
    return out;
}

Value BothEngines::sqliteValue(const std::string& sql)
{
    return m_sqlite->scalar(sql);
}

} // namespace ormex::test
