// The launcher of a linked branch with changes headquarters refused: their count, their window
// (retry sends the change at once, discard drops it, each logged with the operator, both only with
// the right) and the reconciliation of the branch's cards with headquarters'.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QTableWidget>

#include "host/ui/HeldChangesWindow.h"
#include "host/ui/LauncherWindow.h"
#include "host/ui/ModuleLoader.h"
#include "host/ui/ReconciliationWindow.h"
#include "platform/BalanceCodec.h"
#include "support/ScreenShots.h"
#include "support/TestHost.h"

using namespace ormex;

namespace {

// Two changes headquarters refused three times and the branch set aside.
void holdTwoChanges(test::TestHost& host)
{
    host.branch().exec(
        "insert into t_HqOutbox (FSeq,FOrigin,FBranchNo,FDate,FOperation,FBatch,FAttempts,FLastError,FState,"
        "FHeldDate) values (1,'o1','01','2026-11-20 10:00:00',0,'insert into t_Log (FUserID) values (7)',3,"
        "'changed since read: select FDecNum from T_Pos_VipRecord where FCardId=''C100''','held',"
        "'2026-11-20 10:06:00'), (2,'o1','01','2026-11-20 11:00:00',2,'insert into t_Log (FUserID) values "
        "(8)',3,'UNIQUE constraint failed','held','2026-11-20 11:06:00')");
    host.branch().exec("insert into t_HqOutboxCard (FSeq,FCardId) values (1,'C100'),(2,'S1'),(2,'S2')");
}

long long count(test::TestDatabase& db, const std::string& sql)
{
    return db.scalar(sql).toInt();
}

} // namespace

TEST(HeldChangesWindow, TheLauncherCountsThemAndTheWindowRetriesOrDiscardsEachOnce)
{
    test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    holdTwoChanges(host);
    host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
    host::LauncherWindow launcher(host.runtime(), loader);
    EXPECT_EQ(launcher.heldButton()->text(), "总部拒收的变更：2 笔…");
    test::saveShot(launcher, "launcher-held.png");

    auto* window = launcher.openHeldChanges();
    QTableWidget* table = window->table();
    ASSERT_EQ(table->rowCount(), 2);
    EXPECT_EQ(table->item(1, 2)->text(), "会员卡充值");
    EXPECT_EQ(table->item(1, 3)->text(), "S1 S2");
    EXPECT_EQ(table->item(1, 6)->text(), "UNIQUE constraint failed");
    EXPECT_TRUE(window->retryButton()->isEnabled()) << "the administrator holds hy0017";
    test::saveShot(*window, "held-changes.png");

    // Retried: back in line and sent at once, applied once at headquarters.
    table->selectRow(0);
    window->retrySelected();
    EXPECT_EQ(host.messages().last(), "第1笔变更已上传总部。");
    EXPECT_EQ(count(host.hq(), "select count(*) from t_Log where FUserID=7"), 1);
    EXPECT_EQ(count(host.hq(), "select count(*) from t_HqReplay where FSeq=1"), 1);
    ASSERT_EQ(table->rowCount(), 1);

    // Discarded after the operator confirms: gone, and headquarters never gets it.
    table->selectRow(0);
    host.messages().answer(false);
    window->discardSelected();
    EXPECT_EQ(count(host.branch(), "select count(*) from t_HqOutbox"), 1) << "not confirmed";
    host.messages().answer(true);
    window->discardSelected();
    EXPECT_EQ(count(host.branch(), "select count(*) from t_HqOutbox"), 0);
    EXPECT_EQ(count(host.branch(), "select count(*) from t_HqOutboxCard"), 0);
    EXPECT_EQ(table->rowCount(), 0);
    EXPECT_FALSE(window->retryButton()->isEnabled());
    EXPECT_EQ(count(host.hq(), "select count(*) from t_Log where FUserID=8"), 0);
    EXPECT_EQ(
        count(host.branch(), "select count(*) from t_OperLog where FFunctionID='HQOUTBOX' and FUserID=7"), 2)
        << "the retry and the discard, each with the operator";
    window->close();
    EXPECT_EQ(launcher.heldButton()->text(), "总部拒收的变更：0 笔…");
}

TEST(HeldChangesWindow, AnOperatorWithoutTheRightSeesThemAndCannotTouchThem)
{
    test::TestHost host(
        {.isBranch = true, .svCardShareType = true, .withHeadquarters = true, .role = "cashier"});
    holdTwoChanges(host);
    host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
    host::HeldChangesWindow window(host.runtime(), loader);
    EXPECT_EQ(window.table()->rowCount(), 2);
    EXPECT_FALSE(window.retryButton()->isEnabled());
    EXPECT_FALSE(window.discardButton()->isEnabled());
    window.table()->selectRow(0);
    window.retrySelected();
    EXPECT_EQ(count(host.branch(), "select count(*) from t_HqOutbox where FState='held'"), 2);
}

TEST(ReconciliationWindow, ListsACardChangedAtHeadquartersBehindTheBranchsBackInRed)
{
    test::TestHost host({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    const std::string cards =
        "insert into T_Pos_VipRecord (FCardId,FResidualAmt,FAccNum,FDecNum) values ('C100','" +
        platform::encodeBalance(std::string("50")) + "',100,20), ('C200','" +
        platform::encodeBalance(std::string("8.5")) + "',30,0)";
    host.branch().exec(cards);
    host.hq().exec(cards);
    host.hq().exec("update T_Pos_VipRecord set FAccNum=130 where FCardId='C200'");
    host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
    host::ReconciliationWindow window(host.runtime(), loader);
    ASSERT_TRUE(window.refresh()) << host.messages().last();
    EXPECT_EQ(window.result().cardsCompared, 2);
    ASSERT_EQ(window.table()->rowCount(), 1);
    EXPECT_EQ(window.table()->item(0, 0)->text(), "C200");
    EXPECT_EQ(window.table()->item(0, 3)->text(), "30");
    EXPECT_EQ(window.table()->item(0, 4)->text(), "130");
    EXPECT_EQ(window.table()->item(0, 7)->text(), "未能解释");
    EXPECT_EQ(window.table()->item(0, 0)->foreground().color(), QColor(0xb4, 0x23, 0x18));
    test::saveShot(window, "reconciliation.png");

    host.setHeadquartersSetting("(local)/Gone/sa/pw");
    EXPECT_FALSE(window.refresh()) << "headquarters cannot be opened";
    EXPECT_EQ(window.table()->rowCount(), 0);
}
