#pragma once

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <cstdlib>
#include <functional>

#include "module/cards/frmMemCardManage.h"
#include "module/hq/HqLink.h"
#include "module/widgets/InputField.h"
#include "platform/BalanceCodec.h"
#include "platform/Text.h"
#include "support/ScreenShots.h"
#include "support/TestHost.h"

namespace ormex::test {

// Cards for the card screen: one of every status, a shared mobile, a deleted card, unused cards
// of two types.
inline void seedCards(TestDatabase& db)
{
    db.exec(
        "insert into T_Pos_VipType values ('01','普通卡',0,1), ('03','金卡',1,1);"
        "insert into T_Pos_VipRecord "
        "(FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipEndDate,FAccNum,"
        "FDecNum,FResidualAmt,FSavingFlag,password,FUserName,FOperDate,FDeleted) values"
        " ('C100','F100','张伟','13800000001','03','0','2027-06-30',300,100,'" +
        platform::encodeBalance("88.5") +
        "',1,'123456','管理员','2025-01-01',0),"
        " ('C101','F101','李娜','13800000002','01','0','2027-01-01',50,0,'0',0,'','管理员','2025-02-01',0),"
        " ('C102','F102','王芳','13800000002','03','1','2026-10-01',10,0,'0',1,'','管理员','2024-01-01',0),"
        " ('C103','F103','刘洋','13800000003','03','2','2026-12-31',0,0,'0',1,'','管理员','2024-01-01',0),"
        " ('C104','F104','陈静','13800000004','03','3','2026-12-31',0,0,'0',1,'','管理员','2024-01-01',0),"
        " ('C105','F105',NULL,NULL,'03','9','2028-01-01',0,0,'0',1,'',NULL,NULL,0),"
        " ('C106','F106',NULL,NULL,'01','9','2028-01-01',0,0,'0',0,'',NULL,NULL,0),"
        " ('C107','F107','赵强','13800000007','03','0','2027-01-01',0,0,'0',1,'','管理员','2024-01-01',1),"
        " ('C108','F108','孙丽','13800000008','03','0','',0,0,'0',1,'','管理员','2024-01-01',0)");
}

class CardScreen
{
public:
    explicit CardScreen(TestHostOptions options = {}) : host(options)
    {
        module::hq::ResetHQConnectionText();
        seedCards(host.branch());
        screen.loadForm();
    }
    ~CardScreen() { module::hq::ResetHQConnectionText(); }

    void search(const QString& text)
    {
        screen.numberField()->setText(text);
        screen.findChild<QPushButton*>("cmdSearch")->click();
    }
    std::string item(int i) const { return screen.itemField(i)->textStd(); }
    std::string status(const std::string& card)
    {
        return host.branch()
            .scalar("select FCardStatus from T_Pos_VipRecord where FCardId=" + platform::quoted(card))
            .toString();
    }
    std::vector<bool> buttons() const
    {
        std::vector<bool> on;
        for (int i : {0, 1, 2, 3, 5, 6})
            on.push_back(screen.statusButton(i)->isEnabled());
        return on;
    }

    TestHost host;
    module::cards::frmMemCardManage screen;
};

} // namespace ormex::test
