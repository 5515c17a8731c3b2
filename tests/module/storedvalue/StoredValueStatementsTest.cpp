// The stored-value statements: their exact text, and what they do to the rows when run.
#include <gtest/gtest.h>

#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using namespace ormex::module::storedvalue;
using ormex::platform::encodeBalance;
using namespace ormex::platform::money_literals;
using ormex::test::ScopedClock;
using ormex::test::TestDatabase;

namespace {

class StoredValueStatements : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.exec("insert into t_SystemProfile values ('ic','g_branch_no','01'), ('ic','is_branch','1');"
               "insert into T_Pos_VipRecord (FCardId, FCardStatus, FAccNum, FDecNum, FSavingFlag, "
               "FResidualAmt) values"
               " ('S1','0',300,100,1,'" +
               encodeBalance("50") + "'), ('S2','0',100,0,1,'" + encodeBalance("5") + "');");
    }
    std::string balance(const std::string& card) { return t.decodedBalance(card).toString(); }

    ScopedClock clock{2026, 11, 23, 9, 5, 7};
    TestDatabase t;
    StoredValueSession s{"7", "2", "01"};
};

} // namespace

TEST_F(StoredValueStatements, ARechargeOfOneHundredOnFifty)
{
    const Recharge r{"S1",     100_yuan,   100_yuan,           50_yuan, 150_yuan,
                     150_yuan, "生日充值", "2026-11-23 9:5:7", "1"};
    const std::string update =
        " update T_Pos_VipRecord set FResidualAmt='" + encodeBalance("150") + "' where FCardId='S1'";
    EXPECT_EQ(RechargeStatements(s, r),
              "\r\nIf Not Exists (select 1 from t_SystemProfile where lower(FCategory)='ic' and "
              "lower(FKey)='is_branch' "
              "and fvalue='0')\r\n" +
                  update + "\r\n Else \r\n" + update +
                  "\r\ninsert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, "
                  "Fbranchid,FBranchno,"
                  "other1,FPlusRealAmt,FResidualAmt,FBalanceStyle,FComFlag)\r\n"
                  "select 'S1',100,7,'2026-11-23 9:5:7',50,2,'01','生日充值',100,'150',1,'1'");
    t.db().execute(RechargeStatements(s, r));
    EXPECT_EQ(balance("S1"), "150");
    EXPECT_EQ(
        t.rows("select FCardId,FPlusAmt,fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,other1,FPlusRealAmt,"
               "FResidualAmt,FBalanceStyle,FComFlag from T_Pos_AddMoneyList"),
        std::vector<std::string>{"S1|100|7|2026-11-23 9:5:7|50|2|01|生日充值|100|150|1|1"});
}

TEST_F(StoredValueStatements, TwoRechargesInOneBatchWithQuotesAndDeductions)
{
    t.db().execute(RechargeStatements(s, {"S1", -20_yuan, -20_yuan, 50_yuan, 30_yuan, 30_yuan, "退O'Brien",
                                          "2026-11-23 09:05:07", "1"}) +
                   RechargeStatements(s, {"S2", 0.1_yuan, 0_yuan, 5_yuan, 5.1_yuan, 5.1_yuan, "",
                                          "2026-11-23 09:05:07", "2"}));
    EXPECT_EQ(balance("S1"), "30");
    EXPECT_EQ(balance("S2"), "5.1");
    EXPECT_EQ(
        t.rows(
            "select FCardId,FPlusAmt,FOldAmt,other1,FPlusRealAmt,FResidualAmt from T_Pos_AddMoneyList order "
            "by FID"),
        (std::vector<std::string>{"S1|-20|50|退O'Brien|-20|30", "S2|0.1|5||0|5.1"}));
}

TEST_F(StoredValueStatements, OneHundredPointsForTenYuanOnFive)
{
    const Conversion c{"S2", 100, 10_yuan, 5_yuan, 5_yuan, 15_yuan, "2026-11-23 09:05:07"};
    const std::string batch = ConversionStatements(s, 3, c);
    EXPECT_EQ(
        batch.substr(0, batch.find("If Not Exists (select 1")),
        "\r\ninsert Into T_Pos_VipGiftList(Fbranchid,FBranchno, FCardId, flag, FVipPlusAmt, FVipNum,fuserid,"
        "FOperDate,FComFlag,memo)\r\nselect 2,'01','S2','4',10,100,7,'2026-11-23 "
        "09:05:07','1','积分转储值'\r\n"
        " declare @blnIsinset3 int \r\n set @blnIsinset3=1 \r\n"
        "if not exists(select 1 from T_Pos_VipConsume  where FCardId='S2' and FBranchID=2 and "
        "FBranchNo='01')\r\n"
        " begin \r\n insert into  T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum,FComFlag) "
        "\r\n\r\n"
        "select 'S2',2,'01',100,'1' \r\n set @blnIsinset3=0 \r\n end \r\nelse\r\n"
        "Update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+100 where FCardId='S2' and "
        "FBranchID=2 "
        "and FBranchNo='01'\r\n"
        "If (select FValue from t_SystemProfile where lower(FCategory)='ic' and "
        "lower(FKey)='g_branch_no')='01' "
        "or @blnIsinset3=1\r\nupdate T_Pos_VipRecord set FDecNum=FDecNum+100 where FCardId='S2'\r\n");
    EXPECT_EQ(batch.substr(batch.rfind("\r\ninsert T_Pos_AddMoneyList")),
              "\r\ninsert T_Pos_AddMoneyList(FCardId, fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,FPlusAmt,"
              "FResidualAmt,other1,FComFlag)\r\nselect 'S2',7,'2026-11-23 "
              "09:05:07',5,2,'01',10,'15','积分转储值','1'");
    t.db().execute(batch);
    EXPECT_EQ(balance("S2"), "15");
    EXPECT_EQ(t.scalar("select FDecNum from T_Pos_VipRecord where FCardId='S2'").toString(), "100");
    EXPECT_EQ(t.rows("select flag,FVipPlusAmt,FVipNum,memo from T_Pos_VipGiftList"),
              std::vector<std::string>{"4|10|100|积分转储值"});
    EXPECT_EQ(t.rows("select FVipMinusTotalNum,FComFlag from T_Pos_VipConsume"),
              std::vector<std::string>{"100|1"});
}

TEST_F(StoredValueStatements, TheBalanceStatementRunsTheSameAtHeadquarters)
{
    // At headquarters is_branch is '0' and the ELSE arm runs; without the setting the IF arm does.
    for (const char* setting : {"update t_SystemProfile set FValue='0' where FKey='is_branch'",
                                "delete from t_SystemProfile where FKey='is_branch'"}) {
        t.exec(setting);
        t.exec("update T_Pos_VipRecord set FResidualAmt='" + encodeBalance("50") + "' where FCardId='S1'");
        t.db().execute("\r\n" + BalanceStatement("S1", encodeBalance("70.25")));
        EXPECT_EQ(balance("S1"), "70.25") << setting;
        EXPECT_EQ(balance("S2"), "5") << setting;
    }
}
