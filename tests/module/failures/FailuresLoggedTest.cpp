// A save the database refuses is told to the operator as before, and logged with what was being
// done, the cards and the database's own words, under the screen's logging category.
#include <gtest/gtest.h>

#include "../points/PointsScreenFixture.h"
#include "../storedvalue/StoredValueFixture.h"
#include "support/CapturedLog.h"

using namespace ormex;

namespace {

constexpr const char* kRefusal = "the disk refused the row";

// A database that refuses every new row of a table, as a full disk or a broken file would.
void refuseRowsOf(test::TestDatabase& db, const std::string& table)
{
    db.exec("create trigger test_refuse before insert on " + table + " begin select raise(abort, '" +
            kRefusal + "'); end");
}

// The one line logged under the category, or a note that there was not exactly one.
std::string onlyLine(const test::CapturedLog& log, const std::string& category)
{
    const auto lines = log.of(category + ":");
    return lines.size() == 1 ? lines.front() : std::to_string(lines.size()) + " lines under " + category;
}

void expectHolds(const std::string& line, const std::vector<std::string>& parts)
{
    for (const std::string& part : parts)
        EXPECT_NE(line.find(part), std::string::npos) << "\"" << part << "\" in: " << line;
}

} // namespace

TEST(FailuresLogged, ASaveTheDatabaseRefusesIsLoggedWithItsCardsAndTheError)
{
    using StoredValue = module::storedvalue::frmStoreCardManage;
    {
        test::StoredValueScreen t;
        refuseRowsOf(t.host.branch(), "T_Pos_AddMoneyList");
        t.screen.tabs()->setTabVisible(StoredValue::SingleTab, true);
        t.open(StoredValue::SingleTab);
        t.query(StoredValue::SingleTab, "S1");
        t.field("itChargeAmt").setText("100");
        t.host.messages().answer(true);
        test::CapturedLog log;
        t.ok();
        EXPECT_EQ(t.balance("S1"), "50") << "nothing written";
        ASSERT_EQ(t.host.messages().texts().size(), 2u) << "the question, then the failure";
        expectHolds(onlyLine(log, "ormex.module.storedvalue"), {"saving 单卡充值", "S1", kRefusal});
    }
    {
        test::PointsScreen t;
        refuseRowsOf(t.host.branch(), "T_Pos_VipGiftList");
        t.query();
        t.type(t.row("P1"), "FVipNum", "5");
        t.type(t.row("P3"), "FVipNum", "7");
        t.host.messages().answer(true);
        test::CapturedLog log;
        t.ok();
        EXPECT_EQ(t.card("P1"), "100|60") << "nothing written";
        expectHolds(onlyLine(log, "ormex.module.points"), {"saving", "P1,P3", kRefusal});
    }
}
