// The approval screen against a real host session: conditions, red marking, the detail panel
// and approving ticked rows.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>

#include <cstdlib>

#include "host/core/ApprovalMaintain.h"
#include "module/cards/frmMCCheck.h"
#include "module/frame/Grid.h"
#include "module/widgets/CodeList.h"
#include "module/widgets/InputField.h"
#include "support/TestHost.h"

using namespace ormex;
using module::cards::frmMCCheck;

namespace {

// Records the conditions and packages the screen hands over; can be told to fail approving.
class RecordingApproval : public host::ApprovalMaintain
{
public:
    struct Log
    {
        std::vector<std::string> conditions;
        std::vector<platform::RecordList> packages;
        bool failApproval = false;
    };
    RecordingApproval(std::string path, Log& log) : host::ApprovalMaintain(std::move(path)), m_log(log) {}
    platform::RecordList getList(std::string& condition) override
    {
        m_log.conditions.push_back(condition);
        return host::ApprovalMaintain::getList(condition);
    }
    void updateMCApproveInfo(platform::RecordList& package) override
    {
        m_log.packages.push_back(package);
        if (m_log.failApproval) throw std::runtime_error("审核失败");
        host::ApprovalMaintain::updateMCApproveInfo(package);
    }

private:
    Log& m_log;
};

class ApprovalScreen
{
public:
    ApprovalScreen()
    {
        host.branch().exec(
            "insert into T_Pos_VipType values ('03','金卡',1,1);"
            "insert into T_Pos_VipRecord "
            "(FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipEmail,FVipTax,FBranchno,"
            "FModifyDate,FVipSex) values"
            " ('P1','F1','张伟','139001','03','0','zw@x.cn',100,'01','2026-11-01','男'),"
            " ('P2','F2','李娜','139002','03','0','ln@x.cn',100,'01','2026-11-01','女'),"
            " ('P3','F3','王芳','139003','03','0','wf@x.cn',100,'02','2026-11-01','女'),"
            " ('P4','F4','刘洋','139004','03','4','ly@x.cn',100,'02','2026-11-01','男');"
            "insert into T_Pos_VipRecordCheck "
            "(FFlowId,FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipEmail,"
            "FVipTax,FBranchno,FModifyDate,FVipSex) values"
            " (1,'P1','F1','张伟','139001','03','0','new@x.cn',100,'01','2026-11-23','男'),"
            " (2,'P2','F2','李娜娜','139002','03','0','ln@x.cn',120,'01','2026-11-23','女'),"
            " (3,'P3','F3','王芳','139003','03','0','wf@x.cn',100,'02','2026-11-20','女'),"
            " (4,'P4','F4','刘洋','139004','03','4','ly@x.cn',100,'02','2026-11-22','男')");
        const std::string path = host.config().databasePath();
        platform::HostServices::instance().factory().registerClass(
            "OrmexMCardManage.CheckMaintain",
            [this, path] { return std::make_shared<RecordingApproval>(path, log); });
        screen.loadForm();
    }
    void query() { screen.findChild<QPushButton*>("cmdQuery")->click(); }
    void approve() { screen.findChild<QPushButton*>("cmdCheck")->click(); }
    std::vector<std::string> cards()
    {
        std::vector<std::string> out;
        for (int r = 0; r < grid()->rowCount(); ++r)
            out.push_back(grid()->cellText(r, "FCardId").toStdString());
        return out;
    }
    module::frame::Grid* grid() { return screen.grid(); }
    bool red(int row, const char* field)
    {
        return grid()->cellColor(row, grid()->columnOf(QString::fromUtf8(field))) == QColor(255, 0, 0);
    }
    std::vector<std::string> waiting()
    {
        return host.branch().rows("select FCardId from T_Pos_VipRecordCheck order by FCardId");
    }

    test::TestHost host;
    RecordingApproval::Log log;
    frmMCCheck screen;
};

} // namespace

TEST(ApprovalScreen, ConditionsReachTheListAsBuilt)
{
    ApprovalScreen t;
    EXPECT_EQ(t.screen.conditionField(3)->text(), "2026-11-23");
    EXPECT_EQ(t.grid()->columns(), 16);
    EXPECT_EQ(t.grid()->rowCount(), 0);
    t.query();
    EXPECT_EQ(t.cards(), (std::vector<std::string>{"P1", "P2", "P3", "P4"}));
    t.screen.operatorList()->setCurrentIndex(1); // 等于
    t.query();
    EXPECT_EQ(t.cards(), (std::vector<std::string>{"P1", "P2"}));
    t.screen.operatorList()->setCurrentIndex(0);
    t.screen.statusList()->setCurrentIndex(4); // 黑名单
    t.query();
    EXPECT_EQ(t.cards(), std::vector<std::string>{"P4"});
    t.screen.statusList()->setCurrentIndex(-1);
    t.screen.conditionField(1)->setText("O'Neil' or ''='");
    t.query();
    EXPECT_EQ(t.log.conditions,
              (std::vector<std::string>{"", " and FModifyDate ='2026-11-23'", " and FCardStatus ='4'",
                                        " and FVipName ='O''Neil'' or ''''='''"}));
    EXPECT_EQ(t.grid()->rowCount(), 0) << "a name with quotes is looked for as typed, and nobody has it";
    EXPECT_TRUE(t.host.messages().texts().empty());
    EXPECT_EQ(t.waiting().size(), 4u) << "nothing changed";
}

TEST(ApprovalScreen, ListsShowTheNamesAndANewQueryStartsUnticked)
{
    ApprovalScreen t;
    EXPECT_EQ(t.screen.statusList()->itemText(4), "黑名单") << "the code behind the name is not shown";
    EXPECT_EQ(t.screen.operatorList()->itemText(1), "等于");
    EXPECT_EQ(t.screen.statusList()->itemData(4).toString().toStdString(),
              "黑名单                             |4")
        << "the entry keeps its text";
    t.query();
    t.screen.selectAll()->click();
    EXPECT_TRUE(t.grid()->isChecked(3, 0));
    t.query();
    EXPECT_FALSE(t.screen.selectAll()->isChecked());
    EXPECT_FALSE(t.grid()->isChecked(3, 0));
    EXPECT_EQ(t.grid()->cellText(0, "FVipTax"), "100");
}

TEST(ApprovalScreen, ChangedValuesAreRedInTheListAndTheDetails)
{
    ApprovalScreen t;
    t.query();
    EXPECT_TRUE(t.red(0, "FModifyDate"));
    EXPECT_FALSE(t.red(0, "FVipName"));
    EXPECT_FALSE(t.red(0, "FVipTax"));
    EXPECT_TRUE(t.red(1, "FVipName"));
    EXPECT_TRUE(t.red(1, "FVipTax"));
    EXPECT_FALSE(t.red(1, "FCardFlowno"));
    EXPECT_EQ(t.grid()->cellText(0, "status_name"), "正常");
    EXPECT_EQ(t.grid()->cellText(2, "index"), "3");
    EXPECT_TRUE(t.grid()->isColumnHidden(15));

    t.screen.onRowClicked(0);
    auto colour = [&](int i) { return t.screen.detailField(i)->edit()->palette().color(QPalette::Text); };
    EXPECT_EQ(t.screen.detailField(6)->text(), "new@x.cn");
    EXPECT_EQ(colour(6), QColor(255, 0, 0)) << "E_Mail";
    EXPECT_EQ(colour(3), QColor(0, 0, 0)) << "mobile";
    EXPECT_EQ(t.screen.detailField(0)->text(), "男");
    if (const char* folder = std::getenv("ORMEX_SHOTS")) {
        t.screen.resize(1100, 640);
        t.screen.grab().save(QString::fromUtf8(folder) + "/approval.png");
    }

    t.grid()->horizontalHeader()->resizeSection(0, 300);
    EXPECT_LT(t.grid()->columnWidth(0), 60) << "the check-box column keeps its width";
}

TEST(ApprovalScreen, ApprovingTickedRows)
{
    ApprovalScreen t;
    t.query();
    t.approve();
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"您没有选择任何信息"});

    t.grid()->setChecked(1, 0, true);
    t.grid()->setChecked(2, 0, true);
    t.approve();
    EXPECT_EQ(t.cards(), (std::vector<std::string>{"P1", "P4"}));
    EXPECT_EQ(t.grid()->cellText(1, "index"), "4") << "row numbers are kept";
    ASSERT_EQ(t.log.packages.size(), 1u);
    EXPECT_EQ(t.log.packages[0].size(), 2u);
    EXPECT_EQ(t.log.packages[0][0].text("FFlowId"), "2") << "the hidden column travels";
    EXPECT_FALSE(t.log.packages[0][0].contains("chk"));
    EXPECT_EQ(t.host.branch().scalar("select FVipName from T_Pos_VipRecord where FCardId='P2'").toString(),
              "李娜娜");
    EXPECT_EQ(t.waiting(), (std::vector<std::string>{"P1", "P4"}));

    t.grid()->setChecked(1, 0, true); // the last row
    t.approve();
    EXPECT_EQ(t.cards(), std::vector<std::string>{"P1"});

    t.log.failApproval = true;
    t.screen.selectAll()->click();
    t.approve();
    EXPECT_EQ(t.cards(), std::vector<std::string>{"P1"}) << "a failed approval removes nothing";
    t.log.failApproval = false;
    t.approve();
    EXPECT_EQ(t.grid()->rowCount(), 0);
    EXPECT_TRUE(t.waiting().empty());
}

TEST(ApprovalScreen, ADeletedCardsRecordIsNeitherListedNorApproved)
{
    ApprovalScreen t;
    t.host.branch().exec("update T_Pos_VipRecord set FDeleted=1 where FCardId='P3'");
    t.query();
    EXPECT_EQ(t.cards(), (std::vector<std::string>{"P1", "P2", "P4"}));

    // P2 is deleted after the list was read: approving it changes nothing, and nothing else either.
    t.host.branch().exec("update T_Pos_VipRecord set FDeleted=1 where FCardId='P2'");
    t.screen.selectAll()->click();
    t.approve();
    EXPECT_EQ(t.host.messages().last(), "会员卡【P2】已被删除，不能审核");
    EXPECT_EQ(t.cards(), (std::vector<std::string>{"P1", "P2", "P4"}));
    EXPECT_EQ(t.host.branch().rows("select FVipName, FVipEmail from T_Pos_VipRecord where FCardId in "
                                   "('P1','P2') order by FCardId"),
              (std::vector<std::string>{"张伟|zw@x.cn", "李娜|ln@x.cn"}));
    EXPECT_EQ(t.waiting(), (std::vector<std::string>{"P1", "P2", "P3", "P4"}));
}
