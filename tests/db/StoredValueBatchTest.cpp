// The stored-value, settings, gift catalogue and log statements, run exactly as the screens send
// them; and the batch guarantees: all or nothing, nothing run when the text is not understood.
#include <gtest/gtest.h>

#include "platform/BalanceCodec.h"
#include "sql/DbError.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using ormex::platform::decodeBalance;
using ormex::platform::encodeBalance;
using ormex::test::ScopedClock;
using ormex::test::TestDatabase;

namespace {

const std::string CRLF = "\r\n";

class StoredValueBatch : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.exec("insert into t_SystemProfile values ('ic','g_branch_no','01'), ('ic','is_branch','1');"
               "insert into T_Pos_VipRecord (FCardId, FCardStatus, FAccNum, FDecNum, FSavingFlag, "
               "FResidualAmt) values"
               " ('S1','0',300,100,1,'" +
               encodeBalance("50") + "'), ('S2','0',0,0,1,'" + encodeBalance("5") + "');");
    }
    std::string balance(const std::string& card) { return t.decodedBalance(card).toString(); }

    ScopedClock clock{2026, 11, 23, 9, 5, 7};
    TestDatabase t;
};

} // namespace

TEST_F(StoredValueBatch, GiftCatalogueIsReplacedFromTheGrid)
{
    t.exec("insert into T_Pos_VipGift (FItemId,FCardType,FBranchID,FBranchNo,FItemNum,FVipNum) values "
           "(9,'A',3,'0101',1,10)");
    const std::string batch =
        "Delete from T_Pos_VipGift" + CRLF +
        "Delete from T_Pos_VipGift Where 1=1  And FItemId='5' And FCardType='' And FBranchID='3'" + CRLF +
        "Insert Into "
        "T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)" +
        CRLF + "Values('1','300','2026-11-23','2026-12-23','3','0101','5','All')" + CRLF +
        "Delete from T_Pos_VipGift Where 1=1  And FItemId='6' And FCardType='G' And FBranchID='3'" + CRLF +
        "Insert Into "
        "T_Pos_VipGift(FItemNum,FVipNum,FBeginDate,FEndDate,FBranchID,FBranchNo,FItemID,FCardType)" +
        CRLF + "Values('2','150.5','2026-11-01','2026-11-30','3','0101','6','G')";
    t.db().execute(batch);
    EXPECT_EQ(t.rows("select FItemId,FCardType,FBranchID,FItemNum,FVipNum,FBeginDate,FEndDate from "
                     "T_Pos_VipGift order by FItemId"),
              (std::vector<std::string>{"5|All|3|1|300|2026-11-23|2026-12-23",
                                        "6|G|3|2|150.5|2026-11-01|2026-11-30"}));
    // Gifts valid today, affordable with 200 points, for all types or type G.
    EXPECT_EQ(
        t.rows("select FItemId from T_Pos_VipGift where FEndDate>=convert(varchar(10),getdate(),120) And "
               "FBeginDate<=convert(varchar(10),getdate(),120) and FVipNum<=200 and (FCardType='All' or "
               "FCardType='g')"),
        std::vector<std::string>{"6"});
}

TEST_F(StoredValueBatch, SettingsBatchWritesEveryKeyThatHasARow)
{
    // The 21 keys of the member settings in the order they are saved, with the values written.
    const std::pair<const char*, const char*> settings[] = {
        {"MCType", "1"},           {"SVCType", "0"},           {"CardNumProfix", "A''B"},
        {"CardNumSuffix", ""},     {"GoodsPointWork", "1"},    {"CoverCardNum", "0"},
        {"PrintCardNum", "1"},     {"UptMemMsgDirect", "0"},   {"PrintMemName", "1"},
        {"BranchShareMem", "1"},   {"ManPointRuleIndep", "0"}, {"SetVipGiftAtZb", "1"},
        {"SVCardShareType", "1"},  {"LeaveAmount", "10.5"},    {"DailyAmtLimit", "300"},
        {"MaxFillAmount", "5000"}, {"MothlyAmtLimit", "300"},  {"AllowFillPlusAmt", "0"},
        {"PrintCardShowNum", "1"}, {"InputPSWOverLim", "1"},   {"LimitAmount", "-1"},
    };
    std::string batch;
    std::vector<std::string> expected;
    for (const auto& [key, value] : settings) {
        const std::string k = key, v = value;
        if (k != "LimitAmount") // a key without a row stays absent: the batch only updates
            t.exec("insert into t_SystemProfile values ('VIP','" + k + "','old')");
        batch += "UPDATE t_systemprofile SET FValue = '" + v + "' WHERE (FCategory = 'VIP') AND (FKey = '" +
                 k + "')" + CRLF;
    }
    t.exec("insert into t_SystemProfile values ('POS','MCType','untouched')");
    t.db().execute(batch);

    for (const auto& [key, value] : settings)
        if (std::string(key) != "LimitAmount")
            expected.push_back(std::string(key) + "|" +
                               (std::string(key) == "CardNumProfix" ? "A'B" : value));
    EXPECT_EQ(t.rows("select FKey,FValue from t_SystemProfile where FCategory='vip' order by rowid"),
              expected);
    EXPECT_EQ(t.scalar("select FValue from t_SystemProfile where FCategory='POS'").toString(), "untouched");
}

TEST_F(StoredValueBatch, StatementsReplayedOnHeadquartersEndWithTheLogRow)
{
    const std::string statements = "UPDATE T_Pos_VipRecord SET FCardStatus='2' WHERE FCardId='S1'";
    const std::string logRow =
        "INSERT INTO t_Log (FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress)"
        " VALUES ('11/23/2026 09:05',7,'MCM0001',5,'分店[01]进行卡状态管理---修改密码','POS1','10.0.0.5')";
    t.db().execute(statements + CRLF + logRow);
    EXPECT_EQ(
        t.rows("select FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress from t_Log"),
        std::vector<std::string>{
            "11/23/2026 09:05|7|MCM0001|5|分店[01]进行卡状态管理---修改密码|POS1|10.0.0.5"});
    // An operation without a log text sends its statements followed by an empty line.
    t.db().execute("UPDATE T_Pos_VipRecord SET FCardStatus='0' WHERE FCardId='S1'" + CRLF);
    EXPECT_EQ(t.scalar("select FCardStatus from T_Pos_VipRecord where FCardId='S1'").toString(), "0");
    EXPECT_EQ(t.scalar("select count(*) from t_Log").toInt(), 1);
}

TEST_F(StoredValueBatch, AFailingLastStatementLeavesEverythingAsBefore)
{
    const auto before = t.dump();
    const std::string batch = "update T_Pos_VipRecord set FAccNum=999" + CRLF +
                              "insert into t_Log (FUserID) select 1" + CRLF + "declare @x int" + CRLF +
                              "set @x=1" + CRLF +
                              "insert into T_Pos_VipRecord (FCardId) select 'S1'"; // duplicate card number
    try {
        t.db().execute(batch);
        FAIL() << "the duplicate card was accepted";
    } catch (const ormex::db::StatementError& error) {
        EXPECT_EQ(error.line(), 5);
        EXPECT_NE(error.statement().find("insert into T_Pos_VipRecord"), std::string::npos);
        EXPECT_NE(error.reason().find("UNIQUE"), std::string::npos);
    }
    EXPECT_EQ(t.dump(), before);
}

TEST_F(StoredValueBatch, TextOutsideTheDialectRunsNothing)
{
    const auto before = t.dump();
    EXPECT_THROW(t.db().execute("update T_Pos_VipRecord set FAccNum=1" + CRLF + "GO" + CRLF +
                                "update T_Pos_VipRecord set FAccNum=2"),
                 ormex::db::ParseError);
    EXPECT_EQ(t.dump(), before);
}

TEST_F(StoredValueBatch, DecryptInSqlMatchesTheCodec)
{
    for (const char* amount : {"12.5", "0.01", "99999.99", "150", "-10"}) {
        t.exec("update T_Pos_VipRecord set FResidualAmt='" + encodeBalance(amount) + "' where FCardId='S2'");
        EXPECT_EQ(balance("S2"), decodeBalance(encodeBalance(amount))) << amount;
        EXPECT_EQ(balance("S2"), amount);
    }
    t.exec("update T_Pos_VipRecord set FResidualAmt='" + encodeBalance("100") +
           "' where FCardId='S1';"
           "update T_Pos_VipRecord set FResidualAmt='" +
           encodeBalance("99.99") + "' where FCardId='S2'");
    EXPECT_EQ(t.rows("select FCardId from T_Pos_VipRecord where FSavingFlag='1' and  "
                     "convert(float,dbo.f_decrypt(FResidualAmt)) >= 100"),
              std::vector<std::string>{"S1"});
}

TEST_F(StoredValueBatch, DatesFollowTheClockAndKeysIgnoreCase)
{
    t.exec("update T_Pos_VipRecord set FVipEndDate='2026-11-23' where FCardId='S1';"
           "update T_Pos_VipRecord set FVipEndDate='2026-11-24' where FCardId='S2'");
    EXPECT_EQ(t.rows("select FCardId from T_Pos_VipRecord where  datediff(day,getdate(),FVipEndDate)>0 "),
              std::vector<std::string>{"S2"});
    EXPECT_EQ(t.scalar("select convert(varchar(10),getdate(),120)").toString(), "2026-11-23");
    EXPECT_EQ(t.rows("select FCardId from T_Pos_VipRecord where FCardId='s1' and FCardStatus=0"),
              std::vector<std::string>{"S1"});
}
