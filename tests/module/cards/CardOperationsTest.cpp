// The status operations of the card screen: what they refuse, what they ask, and the rows they
// leave locally and at headquarters.
#include <gtest/gtest.h>

#include "CardScreenFixture.h"
#include "host/core/CardMaintain.h"
#include "module/cards/dlgChangeCard.h"
#include "module/cards/dlgPWD.h"
#include "module/frame/Gateway.h"
#include "store/CardLedger.h"

#include <QKeyEvent>

#include <algorithm>

using namespace ormex;
using module::cards::dlgChangeCard;
using module::cards::dlgPWD;
using test::CardScreen;

namespace {
enum Button { Loss = 0, Restore = 1, Extend = 2, Change = 3, Void = 5, Password = 6 };
}

TEST(CardOperations, ReportLossRestoreAndVoid)
{
    CardScreen t;
    t.search("13800000001"); // by mobile
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Loss);
    EXPECT_EQ(t.status("C100"), "2");
    EXPECT_EQ(t.host.messages().texts(), (std::vector<std::string>{"挂失后会员卡将暂停使用，是否继续？",
                                                                   "会员卡(13800000001)挂失操作成功！"}));
    EXPECT_EQ(t.host.messages().shown()[0].title, "信息提示");
    EXPECT_EQ(t.host.messages().shown()[0].icon, platform::MessageIcon::Question);
    EXPECT_EQ(t.item(6), "挂失") << "the screen shows the card again";

    t.host.messages().clear();
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Restore);
    EXPECT_EQ(t.status("C100"), "0");
    EXPECT_EQ(t.host.messages().texts(),
              (std::vector<std::string>{"确定恢复会员卡【C100】?", "会员卡(C100)恢复操作成功！"}));

    t.host.messages().clear();
    t.host.messages().answer(false);
    t.screen.onStatusClicked(Void);
    EXPECT_EQ(t.status("C100"), "0") << "No changes nothing";
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Void);
    EXPECT_EQ(t.status("C100"), "3");
    EXPECT_EQ(t.host.messages().texts()[2], "会员卡(C100)作废操作成功！");
    EXPECT_EQ(t.host.messages().last(), "会员卡【13800000001】已经作废！")
        << "the refresh no longer shows a voided card";
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_NetTask").toInt(), 1) << "the task stays held";
    t.screen.close();
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_NetTask").toInt(), 0) << "closing releases it";
}

TEST(CardOperations, TheStateMachineRefusesAndSaysWhy)
{
    CardScreen t;
    struct Case
    {
        const char* card;
        int button;
        const char* message; // "" for a silent refusal
    };
    const Case cases[] = {
        {"C103", Loss, "操作失败，会员卡只能在正常或失效状态下挂失！"},
        {"C100", Restore, "操作失败，会员卡在该状态下不能恢复！"},
        {"C102", Void, "操作失败，会员卡只能在正常状态下作废！"},
        {"C103", Void, "操作失败，会员卡只能在正常状态下作废！"},
        {"C102", Change, ""},
    };
    for (const auto& c : cases) {
        t.search(c.card);
        const std::string before = t.status(c.card);
        t.host.messages().clear();
        t.screen.onStatusClicked(c.button);
        EXPECT_EQ(t.status(c.card), before) << c.card;
        const std::vector<std::string> expected =
            *c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{};
        EXPECT_EQ(t.host.messages().texts(), expected) << c.card << " " << c.button;
    }
    // An expired card may be reported lost by the operation, though its button is off.
    t.search("C102");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Loss);
    EXPECT_EQ(t.status("C102"), "2");
}

TEST(CardOperations, ExtendAsksAgainUntilTheDaysAreRight)
{
    CardScreen t;
    t.search("C102"); // expired on 2026-10-01
    for (const char* answer : {"0", "36500", "-5", "12a", "123456", "36499"})
        t.host.messages().type(answer);
    t.screen.onStatusClicked(Extend);
    const char* range = "延期天数必须是大于0的整数,且小于36500天 ";
    const char* digits = "延期天数必须是大于0的整数,且小于36500天！ ";
    std::vector<std::string> expected;
    for (const char* refusal : {range, range, digits, digits, range}) {
        expected.push_back("请输入延期天数");
        expected.push_back(refusal);
    }
    expected.push_back("请输入延期天数");
    expected.push_back("会员卡(C102)延期操作成功！");
    EXPECT_EQ(t.host.messages().texts(), expected);
    EXPECT_EQ(t.host.messages().shown()[0].title, "会员卡延期");
    EXPECT_EQ(
        t.host.branch().rows("select FVipEndDate,FCardStatus from T_Pos_VipRecord where FCardId='C102'"),
        std::vector<std::string>{"2126-09-06|0"});

    // Seven days on an end date long past keep the card expired.
    t.host.branch().exec(
        "update T_Pos_VipRecord set FVipEndDate='2026-10-01', FCardStatus='1' where FCardId='C102'");
    t.search("C102");
    t.host.messages().type("007");
    t.screen.onStatusClicked(Extend);
    EXPECT_EQ(
        t.host.branch().rows("select FVipEndDate,FCardStatus from T_Pos_VipRecord where FCardId='C102'"),
        std::vector<std::string>{"2026-10-08|1"});

    // No end date: counted from today. Cancel ends the operation.
    t.search("C108");
    t.host.messages().type("30");
    t.screen.onStatusClicked(Extend);
    EXPECT_EQ(
        t.host.branch().scalar("select FVipEndDate from T_Pos_VipRecord where FCardId='C108'").toString(),
        "2026-12-23");
    t.search("C108");
    t.host.messages().clear();
    t.screen.onStatusClicked(Extend); // the input box is cancelled
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"请输入延期天数"});
}

TEST(CardOperations, ChangeCardDialogChecksInOrder)
{
    test::TestHost host;
    test::seedCards(host.branch());
    dlgChangeCard dialog;
    dialog.setMCNum("C100");
    dialog.setMCTypeID(platform::Value("03"));
    auto* number = dialog.numberField();
    const std::pair<std::string, const char*> cases[] = {
        {"C100", "不允许对自己进行换卡操作！"},       {"ZZ9", "新卡号【ZZ9】不存在!"},
        {"C108", "新卡号【C108】不是未使用的卡!"},    {"C106", "新卡号必须与原卡号为同一类别！"},
        {std::string(21, '8'), "卡号必须小于20位！"},
    };
    for (const auto& [typed, message] : cases) {
        host.messages().clear();
        number->setText(QString::fromStdString(typed));
        dialog.onOk();
        EXPECT_EQ(host.messages().texts(), std::vector<std::string>{message}) << typed;
        EXPECT_FALSE(dialog.OK());
    }
    number->setText("C105");
    EXPECT_TRUE(dialog.okButton()->isEnabled());
    Q_EMIT number->edit()->editingFinished();
    EXPECT_EQ(dialog.typeField()->text(), "金卡") << "the type is looked up when the field is left";
    number->setText("");
    EXPECT_TRUE(dialog.typeField()->text().isEmpty());
    EXPECT_FALSE(dialog.okButton()->isEnabled());
    number->setText("C105");
    host.messages().clear();
    host.messages().answer(true);
    dialog.onOk();
    EXPECT_EQ(host.messages().texts(), std::vector<std::string>{"确定将会员卡【C100】 更换成【C105】?"});
    EXPECT_TRUE(dialog.OK());
    EXPECT_EQ(dialog.MCNum(), "C105");
    EXPECT_EQ(dialog.MCTypeName(), "金卡");
    EXPECT_EQ(dialog.MCTypeID().toString(), "03");
}

TEST(CardOperations, ChangeCardFromTheScreen)
{
    CardScreen t;
    t.search("C100");
    test::whenModal<dlgChangeCard>([&](dlgChangeCard& dialog) {
        test::saveShot(dialog, "dlgChangeCard.png");
        dialog.numberField()->setText("C105");
        t.host.messages().answer(true);
        dialog.onOk();
    });
    t.screen.onStatusClicked(Change);
    const auto texts = t.host.messages().texts();
    EXPECT_NE(std::find(texts.begin(), texts.end(), "会员卡：C100 已更换成：C105"), texts.end());
    EXPECT_EQ(texts.back(), "会员卡【C100】已经作废！") << "the refresh finds the old card voided";
    EXPECT_EQ(t.host.branch().rows(
                  "select FCardId,FCardStatus,FVipName,FAccNum-FDecNum,dbo.f_decrypt(FResidualAmt) from "
                  "T_Pos_VipRecord where FCardId in ('C100','C105') order by FCardId"),
              (std::vector<std::string>{"C100|3|张伟|0|0", "C105|0|张伟|200|88.5"}));
}

TEST(CardOperations, PasswordDialogChecksInOrder)
{
    test::TestHost host;
    test::seedCards(host.branch());
    dlgPWD dialog;
    dialog.setItemID(platform::Value("C100"));
    auto fill = [&](const char* current, const char* next, const char* again) {
        dialog.field(0)->setText(current);
        dialog.field(1)->setText(next);
        dialog.field(2)->setText(again);
        host.messages().clear();
        dialog.onOk();
        return host.messages().texts();
    };
    EXPECT_EQ(fill("000000", "1", "2"), std::vector<std::string>{"原密码错误！"});
    EXPECT_EQ(fill("123456", "12345", "12345"), std::vector<std::string>{"密码必须为6位！"});
    EXPECT_EQ(fill("123456", "654321", "654320"), std::vector<std::string>{"新密码不一致！"});
    EXPECT_EQ(dialog.field(0)->maxLength(), 6);
    EXPECT_EQ(fill("123456", "", ""), std::vector<std::string>{});
    EXPECT_EQ(dialog.Pwd(), "");
    EXPECT_FALSE(dialog.Cancel());

    dlgPWD escaped;
    test::whenModal<dlgPWD>([](dlgPWD& d) {
        QKeyEvent esc(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(&d, &esc);
    });
    escaped.run();
    EXPECT_TRUE(escaped.Cancel());
}

TEST(CardOperations, AFailingPasswordCheckShowsOneMessage)
{
    test::TestHost host;
    // A card object that cannot check passwords (its database has gone away).
    struct Failing : host::CardMaintain
    {
        using host::CardMaintain::CardMaintain;
        bool checkPassword(const platform::Value&, const std::string&) override
        {
            throw std::runtime_error("database is locked");
        }
    };
    const std::string path = host.config().databasePath();
    platform::HostServices::instance().factory().registerClass(
        "OrmexMCardManage.MCMaintain", [path] { return std::make_shared<Failing>(path); });
    dlgPWD dialog;
    dialog.setItemID(platform::Value("C100"));
    dialog.field(0)->setText("123456");
    dialog.onOk();
    EXPECT_EQ(host.messages().texts(), std::vector<std::string>{"原密码错误！"});
}

TEST(CardOperations, EscReleasesTheTaskLock)
{
    CardScreen t;
    t.screen.show();
    t.search("C100");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Loss);
    ASSERT_EQ(t.host.branch().scalar("select count(*) from t_NetTask").toInt(), 1);
    QKeyEvent esc(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&t.screen, &esc);
    EXPECT_FALSE(t.screen.isVisible());
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_NetTask").toInt(), 0);
}

TEST(CardOperations, SetPasswordFromTheScreen)
{
    CardScreen t;
    t.search("C100");
    test::whenModal<dlgPWD>([&](dlgPWD& d) {
        test::saveShot(d, "dlgPWD.png");
        d.field(0)->setText("123456");
        d.field(1)->setText("654321");
        d.field(2)->setText("654321");
        t.host.messages().answer(true);
        d.onOk();
    });
    t.screen.onStatusClicked(Password);
    EXPECT_EQ(t.host.branch().scalar("select password from T_Pos_VipRecord where FCardId='C100'").toString(),
              "654321");
    EXPECT_EQ(t.host.messages().texts().back(), "会员卡(C100)修改密码成功！");

    // Cancelling the dialog changes nothing.
    t.search("C100");
    test::whenModal<dlgPWD>([](dlgPWD& d) { d.onCancel(); });
    t.host.messages().clear();
    t.screen.onStatusClicked(Password);
    EXPECT_TRUE(t.host.messages().texts().empty());
    EXPECT_EQ(t.host.branch().scalar("select password from T_Pos_VipRecord where FCardId='C100'").toString(),
              "654321");
}

TEST(CardOperations, ASecondOperatorOnTheSameCardIsRefused)
{
    CardScreen t;
    t.host.branch().exec("insert into t_User (FUserID, FLogin, FName, FPasswordHash, FRoleId) values "
                         "(8,'wang','王芳','-','admin');"
                         "insert into t_NetTask "
                         "(FTaskNo,FCode,FItem,FMachine,FUserID,FSession,FProcessId,FStartTime,FHeartbeat)"
                         " values (2002,'hy0003','C100','POS-02',8,'pos-02/1/1',1,'2026-11-23 "
                         "10:00:00','2026-11-23 10:29:00')");
    t.search("C100");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Loss);
    EXPECT_EQ(t.host.messages().texts(),
              std::vector<std::string>{std::string(module::frame::kTaskConflictMessage) +
                                       "\n该功能正由操作员【王芳】在机器【POS-02】上使用。"});
    EXPECT_EQ(t.status("C100"), "0");
}

TEST(CardOperations, LinkedBranchReplaysAtHeadquarters)
{
    CardScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    test::seedCards(t.host.hq());
    t.search("C100");
    t.host.messages().answer(true);
    t.screen.onStatusClicked(Loss);
    EXPECT_EQ(t.status("C100"), "2");
    EXPECT_EQ(t.host.hq().scalar("select FCardStatus from T_Pos_VipRecord where FCardId='C100'").toString(),
              "2");
    EXPECT_EQ(t.host.hq().rows("select FFunctionID,FDescription,FMachineName from t_Log"),
              std::vector<std::string>{"MCM0001|分店[01]进行卡状态管理---修改密码|POS-01"});

    t.host.messages().type("30");
    t.screen.onStatusClicked(Extend);
    EXPECT_EQ(t.host.hq().scalar("select FVipEndDate from T_Pos_VipRecord where FCardId='C100'").toString(),
              "2027-07-30");
    EXPECT_EQ(t.host.hq().scalar("select FCardStatus from T_Pos_VipRecord where FCardId='C100'").toString(),
              "2")
        << "headquarters receives the end date only";
}

TEST(CardOperations, LinkedBranchChangesTheCardAtHeadquartersWithTheSameMovements)
{
    CardScreen t({.isBranch = true, .svCardShareType = true, .withHeadquarters = true});
    test::seedCards(t.host.hq());
    // Headquarters holds 100: a recharge of 11.5 made at another branch, which this branch never saw.
    t.host.hq().exec("update T_Pos_VipRecord set FResidualAmt='" + platform::encodeBalance("100") +
                     "' where FCardId='C100'");
    db::startLedgers(t.host.hq().db(), {}, "开户");
    t.search("C100");
    test::whenModal<dlgChangeCard>([&](dlgChangeCard& dialog) {
        dialog.numberField()->setText("C105");
        t.host.messages().answer(true);
        dialog.onOk();
    });
    t.screen.onStatusClicked(Change);

    // Both databases hold headquarters' values moved, and the same movements.
    for (test::TestDatabase* db : {&t.host.branch(), &t.host.hq()}) {
        EXPECT_EQ(db->rows("select FCardId,FCardStatus,FAccNum-FDecNum,dbo.f_decrypt(FResidualAmt) from "
                           "T_Pos_VipRecord where FCardId in ('C100','C105') order by FCardId"),
                  (std::vector<std::string>{"C100|3|0|0", "C105|0|200|100"}))
            << db->path();
        EXPECT_EQ(db->rows("select FCardId,FPlusAmt,FOldAmt,FResidualAmt,other1,FBranchno from "
                           "T_Pos_AddMoneyList order by FID"),
                  (std::vector<std::string>{"C100|-100|100|0|换卡转出|01", "C105|100|0|100|换卡转入|01"}))
            << db->path();
        EXPECT_EQ(db->rows("select FCardId,flag,FVipNum,memo from T_Pos_VipGiftList order by FID"),
                  (std::vector<std::string>{"C100|6|200|换卡转出", "C105|7|200|换卡转入"}))
            << db->path();
    }
    EXPECT_EQ(t.host.hq().rows("select FDescription from t_Log"), std::vector<std::string>{"分店[01]换卡"});
    EXPECT_EQ(t.host.branch().scalar("select count(*) from t_HqOutbox").toInt(), 0) << "sent at once";
    EXPECT_TRUE(db::ledgerFindings(t.host.hq().db()).empty()) << "headquarters' ledger explains both cards";
}

TEST(CardOperations, LinkedBranchWithoutHeadquartersRefusesEveryOperation)
{
    CardScreen t({.isBranch = true, .svCardShareType = true});
    t.search("C100");
    for (int button : {Loss, Restore, Extend, Change, Void, Password}) {
        t.host.messages().clear();
        t.screen.onStatusClicked(button);
        EXPECT_EQ(t.host.messages().texts().front(), "卡状态操作要求与总部联网，请先联网！") << button;
    }
    EXPECT_EQ(t.status("C100"), "0");
}
