// A deleted card (FDeleted 1) is found by no screen: not by the card screen's reads, its history,
// the points screen's member query and exchange card, nor the stored-value screen's card search and
// batch queries, at a branch or when a linked branch's query runs at headquarters.
#include <gtest/gtest.h>

#include <QTabWidget>

#include "CardScreenFixture.h"
#include "module/cards/dlgCardHistory.h"
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
