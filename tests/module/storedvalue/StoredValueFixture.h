#pragma once

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <cstdlib>

#include <functional>

#include "module/frame/Grid.h"
#include "module/hq/HqLink.h"
#include "module/storedvalue/frmStoreCardManage.h"
#include "module/widgets/InputField.h"
#include "platform/BalanceCodec.h"
#include "support/GridTyping.h"
#include "support/RecordingCardMaintain.h"
#include "support/ScreenShots.h"
#include "support/TestHost.h"

namespace ormex::test {

// Stored-value cards: S1 50 yuan, S2 5 yuan and 300 points (silver: 100 points give 10 yuan),
// S3 ending today, S4 not a stored-value card, S5 reported lost, S6 expired.
inline void seedStoredValueCards(TestDatabase& db)
{
    auto enc = [](const char* v) { return platform::encodeBalance(std::string(v)); };
    db.exec(
        "insert into T_Pos_VipType values ('01','普通卡',0,1), ('02','银卡',1,1), ('03','金卡',1,1);"
        "insert into T_Pos_VipPointToAmt (FTypeId,FAccNum,saving_amt,FZhRate) values ('02',100,0,10),"
        " ('03',1000,120,0), ('03',500,55,0), ('03',100,10,0);"
        "insert into t_stock values (2,'01','一分店');"
        "insert into t_PayMethod values (1,'01','现金',0), (2,'02','银行卡',0), (5,'05','旧储值券',1);"
        "insert into T_Pos_VipRecord (FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipEndDate,"
        "FAccNum,FDecNum,FResidualAmt,FPlusAmt,FSavingFlag,FSocialId) values"
        " ('S1','F1','张伟','13900000001','03','0','2027-12-31',0,0,'" +
        enc("50") +
        "',100,1,'4403001'),"
        " ('S2','F2','李娜','13900000002','02','0','2027-12-31',300,0,'" +
        enc("5") +
        "',100,1,'4403002'),"
        " ('S3','F3','王芳','13900000003','03','0','2026-11-23',0,0,'" +
        enc("20") +
        "',100,1,''),"
        " ('S4','F4','刘洋','13900000004','01','0','2027-12-31',0,0,'0',0,0,''),"
        " ('S5','F5','陈静','13900000005','03','2','2027-12-31',0,0,'" +
        enc("30") +
        "',100,1,''),"
        " ('S6','F6','赵强','13900000006','03','0','2026-11-01',0,0,'" +
        enc("40") +
        "',100,1,'');"
        "insert into T_Pos_AddMoneyList (FCardId,FPlusAmt,other1) values ('S1','" +
        enc("100") + "','初始金额')");
}

// The fill settings of the member settings: the largest recharge (0: none) and whether negative
// recharges are allowed.
inline std::string fillSettings(const char* maxFillAmount, bool negativesAllowed)
{
    return std::string("insert into t_SystemProfile values ('VIP','MaxFillAmount','") + maxFillAmount +
           "'), ('VIP','AllowFillPlusAmt','" + (negativesAllowed ? "1" : "0") + "')";
}

class StoredValueScreen
{
public:
    explicit StoredValueScreen(TestHostOptions options = {}, const std::string& settings = {}) : host(options)
    {
        module::hq::ResetHQConnectionText();
        seedStoredValueCards(host.branch());
        if (options.withHeadquarters) seedStoredValueCards(host.hq());
        if (!settings.empty()) host.branch().exec(settings);
        RecordingCardMaintain::install(host.config().databasePath(), log);
        screen.loadForm();
        screen.show();
        QApplication::setActiveWindow(&screen);
    }
    ~StoredValueScreen() { module::hq::ResetHQConnectionText(); }

    module::frame::Grid& grid(int tab) { return *screen.grid(tab); }
    module::widgets::InputField& field(const char* name) { return *screen.field(name); }
    void open(int tab) { screen.tabs()->setCurrentIndex(tab); }
    void query(int tab, const QString& number = {})
    {
        screen.numberBox(tab)->setText(number);
        screen.findChild<QPushButton*>(QStringLiteral("cmdSearch_%1").arg(tab))->click();
    }
    void type(int tab, int row, const char* field, const QString& text)
    {
        typeIntoCell(grid(tab), row, field, text);
    }
    int row(int tab, const std::string& card)
    {
        for (int r = 0; r < grid(tab).rowCount(); ++r)
            if (grid(tab).cellStd(r, "FCardId") == card) return r;
        return -1;
    }
    void ok() { screen.findChild<QPushButton*>("cmdOk")->click(); }
    std::string balance(const std::string& card, TestDatabase* db = nullptr)
    {
        return (db ? *db : host.branch()).decodedBalance(card).toString();
    }
    std::vector<std::string> moneyRows(TestDatabase* db = nullptr)
    {
        return (db ? *db : host.branch())
            .rows("select "
                  "FCardId,FPlusAmt,fuserid,FOldAmt,Fbranchid,FBranchno,other1,FPlusRealAmt,FResidualAmt,"
                  "FBalanceStyle,FComFlag from T_Pos_AddMoneyList where other1 is null or other1<>'初始金额' "
                  "order by FID");
    }

    TestHost host;
    RecordingCardMaintain::Log log;
    module::storedvalue::frmStoreCardManage screen;
};

} // namespace ormex::test
