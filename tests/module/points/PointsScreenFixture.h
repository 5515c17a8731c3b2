#pragma once

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <cstdlib>
#include <functional>

#include "module/frame/Grid.h"
#include "module/hq/HqLink.h"
#include "module/points/frmPointManage.h"
#include "module/widgets/InputField.h"
#include "platform/Text.h"
#include "store/DemoData.h"
#include "support/GridTyping.h"
#include "support/RecordingCardMaintain.h"
#include "support/ScreenShots.h"
#include "support/TestHost.h"

namespace ormex::test {

// Members for the points screen: P1 100/60, P2 100/80, P3 50/0 (gold, found by its mobile), P4
// with nothing left, P5 not yet used, P6 not a points card.
inline void seedPointCards(TestDatabase& db)
{
    db.exec(
        "insert into T_Pos_VipType values ('01','普通卡',0,1), ('03','金卡',1,1);"
        "insert into T_Pos_VipRecord (FCardId,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,FAccFlag,"
        "FVipEndDate) values"
        " ('P1','张伟','13900000001','01','0',100,60,1,'2027-12-31'),"
        " ('P2','李娜','13900000002','01','0',100,80,1,'2027-12-31'),"
        " ('P3','王芳','13900000003','03','0',50,0,1,'2027-12-31'),"
        " ('P4','刘洋','13900000004','01','0',30,30,1,'2027-12-31'),"
        " ('P5',NULL,NULL,'01','9',0,0,1,'2027-12-31'),"
        " ('P6','陈静','13900000006','01','0',10,0,0,'2027-12-31')");
}

// Goods, warehouses and attributes for the gifts: 0101 and 0102 are branch 01's warehouses, 0201
// branch 02's; T-shirts (G003) are kept by size.
inline void seedGoods(TestDatabase& db)
{
    db.exec(
        "insert into t_stock values (1,'01','一分店'), (2,'0101','一分店礼品仓'), (3,'0102','一分店百货仓'),"
        " (4,'0201','二分店礼品仓');"
        "insert into t_Item (FItemID,FNumber,FBarCode,FName,FUnit,FIsAuxi) values"
        " (101,'G001','6901','保温杯','个',0), (102,'G002','6902','雨伞','把',0), "
        "(103,'G003','6903','纯棉T恤','件',1),"
        " (107,'G007','6907','购物袋','个',0);"
        "insert into t_AuxProp values (1,103,'S','小码'), (2,103,'M','中码')");
}

class PointsScreen
{
public:
    explicit PointsScreen(TestHostOptions options = {}) : host(options)
    {
        module::hq::ResetHQConnectionText();
        seedPointCards(host.branch());
        seedGoods(host.branch());
        if (options.withHeadquarters) {
            seedPointCards(host.hq());
            seedGoods(host.hq());
        }
        RecordingCardMaintain::install(host.config().databasePath(), log);
        screen.loadForm();
        screen.show();
        QApplication::setActiveWindow(&screen);
    }
    ~PointsScreen() { module::hq::ResetHQConnectionText(); }

    module::frame::Grid& grid(int tab = 0) { return *screen.grid(tab); }
    void query(const QString& number = {})
    {
        screen.memberBox(0)->setText(number);
        screen.findChild<QPushButton*>("cmdSearch_0")->click();
    }
    void type(int row, const char* field, const QString& text, int tab = 0)
    {
        typeIntoCell(grid(tab), row, field, text);
    }
    // Puts the demo branch's data in place of the test's own and loads the screen again.
    void useDemoData()
    {
        host.branch().exec(
            "delete from T_Pos_VipRecord; delete from T_Pos_VipType; delete from t_SystemProfile;"
            "delete from t_stock; delete from t_AuxProp; delete from t_Item");
        db::seedDemo(host.branch().db(), db::DemoRole::Branch);
        screen.loadForm();
    }
    int row(const std::string& card)
    {
        for (int r = 0; r < grid().rowCount(); ++r)
            if (grid().cellStd(r, "FCardId") == card) return r;
        return -1;
    }
    void ok() { screen.findChild<QPushButton*>("cmdOk")->click(); }
    std::string card(const std::string& id, TestDatabase* db = nullptr)
    {
        return (db ? *db : host.branch())
            .rows("select FAccNum, FDecNum from T_Pos_VipRecord where FCardId=" + platform::quoted(id))
            .at(0);
    }
    std::vector<std::string> movements(TestDatabase* db = nullptr)
    {
        return (db ? *db : host.branch())
            .rows("select FCardId,flag,FItemNum,FVipNum,fuserid,memo,FComFlag from T_Pos_VipGiftList order "
                  "by FID");
    }

    TestHost host;
    RecordingCardMaintain::Log log;
    module::points::frmPointManage screen;
};

} // namespace ormex::test
