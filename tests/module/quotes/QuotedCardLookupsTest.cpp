// A card number with a quote (8800'0001, as an imported card may be numbered) is found by every
// query and check the screens run on a card: the points screen's remaining points, its checks at
// headquarters and its accumulated and used points, the stored-value screen's balance and issue
// amount, the card screen's search and history. A query that broke on the quote would read
// nothing, and most of these readers go on with an empty value: each failure is logged, so the
// test also asks that nothing was.
#include <gtest/gtest.h>

#include <QRadioButton>
#include <QTabWidget>

#include "../cards/CardScreenFixture.h"
#include "../points/PointsScreenFixture.h"
#include "../storedvalue/StoredValueFixture.h"
#include "module/cards/CardHistory.h"
#include "support/CapturedLog.h"

using namespace ormex;

namespace {

constexpr const char* kCard = "8800'0001";
const test::TestHostOptions kLinked{.isBranch = true, .svCardShareType = true, .withHeadquarters = true};

void addCard(test::TestDatabase& db, const std::string& type, int accumulated, int used, const char* balance)
{
    db.exec(
        "insert into T_Pos_VipRecord (FCardId,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag,"
        "FVipEndDate,FResidualAmt,FSavingFlag) values ('8800''0001','钱七','13988000001','" +
        type + "','0'," + std::to_string(accumulated) + "," + std::to_string(used) + ",1,'2027-12-31','" +
        platform::encodeBalance(std::string(balance)) + "'," + (type == "01" ? "0" : "1") + ")");
}

} // namespace

TEST(QuotedTexts, EveryQueryOfACardFindsANumberWithAQuote)
{
    using Points = module::points::frmPointManage;
    test::CapturedLog log;
    {
        // At a branch on its own: the remaining points of a clearing, the local checks of a
        // deduction, and its refusal naming the card.
        test::PointsScreen t;
        addCard(t.host.branch(), "01", 100, 60, "0");
        t.query(QString::fromUtf8(kCard));
        ASSERT_EQ(t.grid().rowCount(), 1);
        t.screen.option(Points::Clearing)->click();
        EXPECT_EQ(t.grid().cellStd(0, "FVipNum"), "40.00") << "the remaining points";
        t.screen.option(Points::Deduction)->click();
        t.type(0, "FVipNum", "50");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), "卡号【8800'0001】冲减积分超过剩余积分，不能冲减！");
        t.type(0, "FVipNum", "10");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.card(kCard), "100|70");
    }
    {
        // A linked branch: the remaining points and the accumulated and used points are read at
        // headquarters.
        test::PointsScreen t(kLinked);
        for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()})
            addCard(*db, "01", 100, 60, "0");
        t.query(QString::fromUtf8(kCard));
        ASSERT_EQ(t.grid().rowCount(), 1);
        t.screen.option(Points::Deduction)->click();
        t.type(0, "FVipNum", "41");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().texts().back(), "卡号【8800'0001】冲减积分超过剩余积分，不能冲减！");
        t.type(0, "FVipNum", "40");
        t.host.messages().clear();
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.card(kCard), "100|100");
        EXPECT_EQ(t.host.hq().rows("select FCardId, flag, FVipNum from T_Pos_VipGiftList"),
                  std::vector<std::string>{"8800'0001|1|40"})
            << "the deduction reached headquarters";
    }
    {
        // The stored-value card as headquarters holds it: its balance and its issue amount.
        using StoredValue = module::storedvalue::frmStoreCardManage;
        test::StoredValueScreen t(kLinked);
        addCard(t.host.branch(), "02", 0, 0, "1");
        addCard(t.host.hq(), "02", 0, 0, "25");
        t.host.hq().exec("insert into T_Pos_AddMoneyList (FCardId,FPlusAmt,other1) values ('8800''0001','" +
                         platform::encodeBalance(std::string("25")) + "','初始金额')");
        t.screen.tabs()->setTabVisible(StoredValue::SingleTab, true);
        t.open(StoredValue::SingleTab);
        t.query(StoredValue::SingleTab, QString::fromUtf8(kCard));
        EXPECT_EQ(t.field("itLeaveAmt_0").textStd(), "25元");
        EXPECT_EQ(t.field("itCardAmt").textStd(), "25");
    }
    {
        // The card screen finds it by its number and by its mobile; its history reads its rows.
        test::CardScreen t;
        addCard(t.host.branch(), "01", 100, 60, "0");
        for (const char* key : {kCard, "13988000001"}) {
            t.search(QString::fromUtf8(key));
            EXPECT_EQ(t.item(0), kCard) << key;
        }
        const auto history = module::cards::ReadCardHistory(kCard, module::cards::HistoryDatabase::Local);
        EXPECT_EQ(history.name, "钱七");
        EXPECT_EQ(history.points, 40);
    }
    EXPECT_EQ(log.of("ormex."), std::vector<std::string>{}) << "no query failed";
}
