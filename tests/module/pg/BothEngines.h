// One starting database on both engines: the demo branch and generated cards seeded into SQLite,
// with rows added for the situations the batches tell apart, and copied row for row into a fresh
// PostgreSQL database.
// A batch is run on both with execute(); afterwards every table must hold the same rows, and a
// query must read the same values on both.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/core/HostRuntime.h"
#include "platform/BusinessObjects.h"
#include "platform/Recordset.h"
#include "sql/PgDatabase.h"
#include "support/PgTestDatabase.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

namespace ormex::test {

// The session the batches are built for: the demo branch (BranchID 2, BranchNum "01"), whose
// database says g_branch_no = "01". Another branch (3, "02") is not this database's own.
inline constexpr const char* kUserId = "16394";
inline constexpr const char* kOwnBranchId = "2";
inline constexpr const char* kOwnBranchNo = "01";
inline constexpr const char* kOtherBranchId = "3";
inline constexpr const char* kOtherBranchNo = "02";

// A card the demo does not hold, written in another case in the batches than in the database.
inline constexpr const char* kMixedCaseCard = "VIP-Ab01";
inline constexpr const char* kMixedCaseCardAsTyped = "vip-aB01";

class BothEngines : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    db::Database& sqlite() { return m_sqlite->db(); }
    db::PgDatabase& pg() { return m_pg->db(); }

    // Runs the batch on SQLite, then on PostgreSQL; a failure on either fails the test.
    void runOnBoth(const std::string& batch);
    // Runs the batch on both as a write computed from values read earlier: it must run on both.
    void runCheckedOnBoth(const std::string& batch, const std::vector<platform::ReadCheck>& checks);
    // The same, where a value read has changed since: both must refuse it.
    void expectRefusedOnBoth(const std::string& batch, const std::vector<platform::ReadCheck>& checks);
    // Every row of every table of the schema, all columns, the same on both engines. Returns the
    // number of rows compared.
    std::size_t expectSameRows();
    // The query's rows read through query() on both engines: the same columns and values, in the
    // same order when `ordered`, else as a set of rows.
    void expectSameQuery(const std::string& sql, bool ordered = false);

    // The first `count` cards (FCardId order) of the demo that meet the condition on T_Pos_VipRecord
    // as r; fails the test when fewer exist.
    std::vector<std::string> cards(const std::string& condition, std::size_t count);
    // The value of a query's first row and column on SQLite.
    platform::Value sqliteValue(const std::string& sql);

    // The fixed time of the batches.
    std::unique_ptr<ScopedClock> m_clock;

private:
    std::unique_ptr<TestDatabase> m_sqlite;
    std::unique_ptr<PgTestDatabase> m_pg;
    std::unique_ptr<host::HostRuntime> m_host;
};

// Values as the system reads them: null only equals null, numbers equal by value (5 and 5.0),
// text equals text exactly, and a number equals a text that the system reads as the same text
// (a column without a type keeps a number on SQLite, text on PostgreSQL).
bool sameAsRead(const platform::Value& a, const platform::Value& b);

} // namespace ormex::test
