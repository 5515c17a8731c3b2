#include <gtest/gtest.h>

#include "platform/BalanceCodec.h"
#include "store/CardImport.h"
#include "store/CsvRecords.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"

using namespace ormex;
using test::TestDatabase;

namespace {

constexpr const char* kHeader = "卡号,卡面编号,姓名,手机,卡类别,有效期至,期初余额,期初积分\r\n";

// Card types of every kind, the branch's number, an unused card U1 printed with a face number and
// an end date, and a card C1 in use.
void seed(TestDatabase& t)
{
    t.exec("insert into T_Pos_VipType values ('01','普通卡',0,1), ('03','金卡',1,1), ('04','储值卡',1,0);"
           "insert into t_SystemProfile values ('ic','g_branch_no','01');"
           "insert into T_Pos_VipRecord (FCardId,FCardFlowno,FCardType,FCardStatus,FVipEndDate) values"
           " ('U1','FU1','01','9','2029-12-31'), ('C1','FC1','03','0','2027-01-01')");
}

std::vector<std::string> texts(const db::CardImportPlan& plan)
{
    std::vector<std::string> out;
    for (const auto& problem : plan.problems)
        out.push_back(problem.text());
    return out;
}

class CardImport : public ::testing::Test
{
protected:
    CardImport() { seed(t); }
    test::ScopedClock clock{2026, 11, 23, 9, 15, 0};
    TestDatabase t;
};

} // namespace

TEST_F(CardImport, AGoodFileWritesCardsInitialAmountsAndOpeningPoints)
{
    const std::string file = std::string("\xEF\xBB\xBF") + kHeader +
                             "N1,FN1,\"张,伟\",13900000001,03,2028-06-30,150.5,300\r\n"
                             "U1,,\"李\"\"娜\"\"\",13900000002,03,,20,\r\n"
                             "N2,FN2,王芳,,01,,,12.25\r\n";
    const db::CardImportPlan plan = db::importCards(t.db(), file);
    ASSERT_TRUE(plan.ok()) << texts(plan).front();
    EXPECT_EQ(plan.summary(), "3 cards (2 new, 1 unused card put in use); 2 opening balances, 170.5 in all; "
                              "2 cards with opening points, 312.25 in all");

    EXPECT_EQ(
        t.rows("select FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FVipStartDate,"
               "FVipEndDate,FAccNum,FDecNum,FPlusAmt,FSavingFlag,FAccFlag,FBranchno,FOperDate,FUserName "
               "from T_Pos_VipRecord where FCardId<>'C1' order by FCardId"),
        (std::vector<std::string>{
            "N1|FN1|张,伟|13900000001|03|0|2026-11-23|2028-06-30|300|0|150.5|1|1|01|2026-11-23|管理员",
            "N2|FN2|王芳||01|0|2026-11-23||12.25|0|0|0|1|01|2026-11-23|管理员",
            "U1|FU1|李\"娜\"|13900000002|03|0|2026-11-23|2029-12-31|0|0|20|1|1|01|2026-11-23|管理员",
        }))
        << "the unused card keeps the face number and end date the file leaves empty";
    EXPECT_EQ(t.decodedBalance("N1").toString(), "150.5");
    EXPECT_EQ(t.decodedBalance("U1").toString(), "20");
    EXPECT_EQ(t.scalar("select FResidualAmt from T_Pos_VipRecord where FCardId='N2'").toString(), "0");

    EXPECT_EQ(t.rows("select FCardId,fuserid,FOperDate,FOldAmt,Fbranchid,FBranchno,other1,FPlusRealAmt,"
                     "FResidualAmt,FBalanceStyle,FComFlag from T_Pos_AddMoneyList order by FCardId"),
              (std::vector<std::string>{"N1|1|2026-11-23 09:15:00|0|0|01|初始金额|150.5|150.5|0|1",
                                        "U1|1|2026-11-23 09:15:00|0|0|01|初始金额|20|20|0|1"}));
    EXPECT_EQ(platform::decodeBalance(
                  t.scalar("select FPlusAmt from T_Pos_AddMoneyList where FCardId='N1'").toString()),
              "150.5")
        << "the initial amount is read back decoded";
    EXPECT_EQ(
        t.rows("select FCardId,Fbranchid,FBranchno,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,FComFlag "
               "from T_Pos_VipGiftList order by FCardId"),
        (std::vector<std::string>{"N1|0|01|3|0|300|1|2026-11-23 09:15:00|初始积分|0",
                                  "N2|0|01|3|0|12.25|1|2026-11-23 09:15:00|初始积分|0"}));
    EXPECT_EQ(t.scalar("select count(*) from T_Pos_VipConsume").toInt(), 0);
}

TEST_F(CardImport, EveryBadLineIsNamedAndNothingIsWritten)
{
    const std::string file = std::string(kHeader) + "N1,,张伟,,09,,10,0\r\n"              // 2
                                                    "N2,,李娜,,03,2026-02-30,1.005,0\r\n" // 3
                                                    ",,王芳,,03,,,\r\n"                   // 4
                                                    "N3,,刘洋,,03,,abc,-5\r\n"            // 5
                                                    "N4,,陈静,,03\r\n"                    // 6
                                                    "n1,FC1,赵强,,01,2027/01/01,8,\r\n"   // 7
                                                    "C1,,孙丽,,04,,,10\r\n"               // 8
                                                    "N5,,\"周,杰,,03,,,\r\n";             // 9
    const auto before = t.dump();
    const db::CardImportPlan plan = db::importCards(t.db(), file);
    EXPECT_EQ(texts(plan), (std::vector<std::string>{
                               "第2行：卡类别【09】不存在",
                               "第3行：有效期【2026-02-30】不是正确的日期（格式为yyyy-mm-dd）",
                               "第3行：期初余额【1.005】最多只能有两位小数",
                               "第4行：卡号为空",
                               "第5行：期初余额【abc】不是数字",
                               "第5行：期初积分【-5】不能为负数",
                               "第6行：应有8列，实有5列",
                               "第7行：卡号【n1】与第2行重复",
                               "第7行：卡面编号【FC1】已是会员卡【C1】的卡面编号",
                               "第7行：有效期【2027/01/01】不是正确的日期（格式为yyyy-mm-dd）",
                               "第7行：卡类别【01】不是储值卡，不能有期初余额",
                               "第8行：会员卡【C1】已经使用，不能再导入期初值",
                               "第8行：卡类别【04】不积分，不能有期初积分",
                               "第9行：引号没有结束",
                           }));
    EXPECT_EQ(t.dump(), before);
    EXPECT_THROW(db::writeCardImport(t.db(), plan), db::DbError) << "a plan with bad lines is never written";
    EXPECT_EQ(t.dump(), before);
}

TEST_F(CardImport, TheSameFileAgainIsRefusedAndADryRunWritesNothing)
{
    const std::string file = std::string(kHeader) + "N1,,张伟,,03,,100,50\r\nU1,,李娜,,01,,,\r\n";
    const auto empty = t.dump();
    const db::CardImportPlan dry = db::importCards(t.db(), file, /*dryRun=*/true);
    EXPECT_TRUE(dry.ok());
    EXPECT_EQ(dry.cards.size(), 2u);
    EXPECT_EQ(t.dump(), empty) << "a dry run writes nothing";

    ASSERT_TRUE(db::importCards(t.db(), file).ok());
    const auto imported = t.dump();
    EXPECT_EQ(texts(db::importCards(t.db(), file)),
              (std::vector<std::string>{"第2行：会员卡【N1】已经使用，不能再导入期初值",
                                        "第3行：会员卡【U1】已经使用，不能再导入期初值"}));
    EXPECT_EQ(t.dump(), imported);
}

TEST_F(CardImport, ACardUsedAfterThePlanStopsTheWholeWrite)
{
    const db::CardImportPlan plan =
        db::planCardImport(t.db(), std::string(kHeader) + "N1,,张伟,,03,,100,\r\nU1,,李娜,,03,,30,\r\n");
    ASSERT_TRUE(plan.ok());
    t.exec("update T_Pos_VipRecord set FCardStatus='0' where FCardId='U1'"); // another operator put it in use
    const auto before = t.dump();
    EXPECT_THROW(db::writeCardImport(t.db(), plan), db::DbError);
    EXPECT_EQ(t.dump(), before);
}

TEST(CardImportCsv, QuotedFieldsLineBreaksAndTheByteOrderMark)
{
    const auto records = db::readCsvRecords("\xEF\xBB\xBFid,name\r\n"
                                            "1,\"a, \"\"b\"\"\"\r\n"
                                            "\n"
                                            "2,\"two\r\nlines\",\r\n"
                                            "3,x\n"
                                            "4,\"open\r\n");
    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records[0].fields, (std::vector<std::string>{"id", "name"}))
        << "the mark is not part of the text";
    EXPECT_EQ(records[1].fields, (std::vector<std::string>{"1", "a, \"b\""}));
    EXPECT_EQ(records[2].line, 4) << "an empty line is passed over, still counted";
    EXPECT_EQ(records[2].fields, (std::vector<std::string>{"2", "two\r\nlines", ""}));
    EXPECT_EQ(records[3].line, 6) << "a line break inside quotes is a line of the text";
    EXPECT_EQ(records[3].fields, (std::vector<std::string>{"3", "x"}));
    EXPECT_EQ(records[4].fault, db::CsvRecord::Fault::UnclosedQuote);
    EXPECT_EQ(db::readCsvRecords("\"a\"b,c")[0].fault, db::CsvRecord::Fault::TextAfterQuote);
}
