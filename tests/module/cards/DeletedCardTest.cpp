// A deleted card (FDeleted 1) is found by no screen: not by the card screen's reads, its history,
// the points screen's member query and exchange card, nor the stored-value screen's card search and
// batch queries, at a branch or when a linked branch's query runs at headquarters. A card deleted
// after a screen listed it is not written by that screen's save.
#include <gtest/gtest.h>

#include <QTabWidget>

#include "CardScreenFixture.h"
#include "module/cards/dlgCardHistory.h"
#include "module/frame/Gateway.h"
#include "module/points/PointsScreenFixture.h"
#include "module/storedvalue/StoredValueFixture.h"

using namespace ormex;
using Screen = module::storedvalue::frmStoreCardManage;

namespace {

void deleteCard(test::TestDatabase& db, const std::string& card)
{
    db.exec("update T_Pos_VipRecord set FDeleted=1 where FCardId='" + card + "'");
}

} // namespace

TEST(DeletedCard, TheCardScreenFindsItByNoNumberNorShowsItsHistory)
{
    test::CardScreen t; // C107 (face number F107, mobile 13800000007) is deleted
    for (const char* typed : {"C107", "F107", "13800000007"}) {
        t.host.messages().clear();
        t.search(typed);
        EXPECT_EQ(t.host.messages().texts(),
                  std::vector<std::string>{std::string("不存在会员卡【") + typed + "】,或该卡已被禁用！"})
            << typed;
        EXPECT_EQ(t.item(0), "") << typed;
    }
    t.host.messages().clear();
    module::cards::dlgCardHistory history;
    EXPECT_FALSE(history.load("C107"));
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"不存在会员卡【C107】,或该卡已被禁用！"});
}

TEST(DeletedCard, ThePointsScreenFindsItNeitherInItsQueryNorForAnExchange)
{
    test::PointsScreen t;
    deleteCard(t.host.branch(), "P1");
    t.query();
    EXPECT_EQ(t.row("P1"), -1);
    EXPECT_EQ(t.grid().rowCount(), 3) << "P2, P3 and P4";
    t.host.messages().clear();
    t.query("P1");
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"没有符合条件的记录存在!"});

    t.host.messages().clear();
    t.screen.tabs()->setCurrentIndex(2);
    t.screen.memberBox(2)->setText("13900000001"); // P1's mobile
    t.screen.findChild<QPushButton*>("cmdSearch_2")->click();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"会员卡号不存在"});
}

TEST(DeletedCard, TheStoredValueScreenFindsItOnNoTabHereOrAtHeadquarters)
{
    {
        test::StoredValueScreen t;
        deleteCard(t.host.branch(), "S1");
        t.screen.tabs()->setTabVisible(Screen::SingleTab, true);
        const std::pair<int, const char*> tabs[] = {{Screen::SingleTab, "不存在该会员卡！"},
                                                    {Screen::BatchTab, "没有符合条件的会员卡存在！"},
                                                    {Screen::PointsTab, "没有符合条件的会员卡存在！"}};
        for (const auto& [tab, refusal] : tabs) {
            t.host.messages().clear();
            t.open(tab);
            t.query(tab, "13900000001"); // S1's mobile
            EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{refusal}) << tab;
        }
        t.open(Screen::BatchTab);
        t.query(Screen::BatchTab);
        EXPECT_EQ(t.row(Screen::BatchTab, "S1"), -1);
        EXPECT_GT(t.grid(Screen::BatchTab).rowCount(), 0);
    }
    // In a linked branch the batch query runs at headquarters: a card deleted there is not found,
    // though the branch's copy is still live.
    test::StoredValueScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    deleteCard(t.host.hq(), "S1");
    t.open(Screen::BatchTab);
    t.query(Screen::BatchTab, "S1");
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"没有符合条件的会员卡存在！"});
}

TEST(DeletedCard, ACardDeletedAfterThePointsScreenListedItIsNotWritten)
{
    test::PointsScreen t;
    t.query();
    t.type(t.row("P1"), "FVipNum", "10");
    t.type(t.row("P2"), "FVipNum", "10");
    deleteCard(t.host.branch(), "P1"); // by another program, after the list was read
    t.host.messages().answer(true);
    t.ok();
    EXPECT_EQ(t.host.messages().texts(), (std::vector<std::string>{"是否确定对列表中会员进行积分奖励？",
                                                                   module::frame::kChangedSinceReadMessage}));
    EXPECT_EQ(t.card("P1"), "100|60");
    EXPECT_EQ(t.card("P2"), "100|80") << "the save writes all of its rows or none";
    EXPECT_TRUE(t.movements().empty());
    EXPECT_EQ(t.row("P1"), -1) << "the list is read again";
}

TEST(DeletedCard, ACardDeletedAfterTheStoredValueScreenListedItIsNotRecharged)
{
    // Deleted at the branch before OK or while the operator confirms; in a linked branch deleted at
    // headquarters, which holds the balance the save reads.
    const struct
    {
        bool linked, whileConfirming;
    } cases[] = {{false, false}, {false, true}, {true, false}};
    for (const auto& c : cases) {
        const std::string when = std::string(c.linked ? "linked" : "branch") +
                                 (c.whileConfirming ? ", while confirming" : ", before OK");
        test::StoredValueScreen t({.svCardShareType = c.linked, .withHeadquarters = c.linked});
        t.query(Screen::BatchTab);
        t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S1"), "FChargeAmt", "20");
        t.type(Screen::BatchTab, t.row(Screen::BatchTab, "S2"), "FChargeAmt", "20");
        test::TestDatabase& owner = c.linked ? t.host.hq() : t.host.branch();
        if (c.whileConfirming)
            t.log.beforeRun = [&owner] { deleteCard(owner, "S1"); };
        else
            deleteCard(owner, "S1");
        t.host.messages().answer(true);
        t.ok();
        EXPECT_EQ(t.host.messages().last(), module::frame::kChangedSinceReadMessage) << when;
        for (test::TestDatabase* db : {&t.host.branch(), &owner}) {
            EXPECT_EQ(t.balance("S1", db), "50") << when;
            EXPECT_EQ(t.balance("S2", db), "5") << when << ": the save writes all of its rows or none";
            EXPECT_TRUE(t.moneyRows(db).empty()) << when;
        }
        EXPECT_EQ(t.row(Screen::BatchTab, "S1"), -1) << when << ": the tab is read again";
    }
}

TEST(DeletedCard, ACardDeletedAfterTheCardScreenShowedItKeepsItsStatus)
{
    test::CardScreen t;
    t.search("C100");
    deleteCard(t.host.branch(), "C100");
    t.host.messages().answer(true);
    t.screen.statusButton(0)->click(); // report the loss
    EXPECT_EQ(t.status("C100"), "0");
    EXPECT_TRUE(t.host.branch().rows("select FCardId from t_OperLog").empty());
    EXPECT_EQ(t.host.messages().last(), "不存在会员卡【C100】,或该卡已被禁用！");
}
