// The host's business objects on a real database: the member lists, the card change, the
// approval of pending records, the settings, the numbered tables and the connections.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "host/core/ApprovalMaintain.h"
#include "host/core/CardMaintain.h"
#include "host/core/DatabaseConnection.h"
#include "host/core/MemberLists.h"
#include "host/core/SettingsMaintain.h"
#include "platform/BalanceCodec.h"
#include "store/CardLedger.h"
#include "store/SchemaUpgrade.h"
#include "store/SharedDatabases.h"
#include "support/TestClock.h"
#include "support/TestDatabase.h"
#include "support/TestHost.h"

using namespace ormex;
using platform::Value;

namespace {

class BusinessObjects : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.exec("insert into T_Pos_VipType values ('01','普通卡',0,1), ('03','金卡',1,1);"
               "insert into T_Pos_VipRecord "
               "(FCardId,FCardFlowno,FVipName,mobile,FCardType,FCardStatus,FAccNum,FDecNum,"
               "FResidualAmt,FSavingFlag,password,FVipEmail,FDeleted) values"
               " ('A1','F1','张伟','139','03','0',300,100,'" +
               platform::encodeBalance("88.5") +
               "',1,'123456','a@x.cn',0),"
               " ('A2','F2','李娜','139','01','2',50,0,'0',0,'','b@x.cn',0),"
               " ('N1','F9',NULL,NULL,'03','9',0,0,'0',1,'',NULL,0),"
               " ('N2','F8',NULL,NULL,'03','0',0,0,'0',1,'',NULL,0),"
               // Deleted: one in use sharing A1's mobile, one never used.
               " ('D1','F7','赵强','139','03','0',500,0,'0',1,'',NULL,1),"
               " ('D2','F6',NULL,NULL,'03','9',0,0,'0',1,'',NULL,1);"
               "insert into T_Pos_VipConsume (FCardId,Fbranchid,FBranchno,FVipMinusTotalNum) values "
               "('A1',2,'01',100)");
    }
    test::TestDatabase t;
};

// Every finding of the movement ledger, one a line.
std::string ledgerFindings(test::TestDatabase& t)
{
    std::string text;
    for (const db::LedgerFinding& finding : db::ledgerFindings(t.db()))
        text += finding.card + ": " + finding.text + "\n";
    return text;
}

} // namespace

TEST_F(BusinessObjects, MemberListConditionsNameTheJoinedColumns)
{
    host::MemberLists lists(t.path());
    lists.setBaseNumber(50);
    auto ids = [&](const std::string& condition) {
        std::string out;
        for (const auto& row : lists.getList(condition, ""))
            out += row.text("FCardId") + ":" + row.text("type_name") + ":" + row.text("status_name") + ":" +
                   row.text("cur_num") + " ";
        return out;
    };
    EXPECT_EQ(ids(" (FCardId='139' or mobile='139') and FDeleted=0 "), "A1:金卡:正常:200 A2:普通卡:挂失:50 ");
    EXPECT_EQ(ids("status_name='挂失'"), "A2:普通卡:挂失:50 ");
    EXPECT_EQ(ids("cur_num>=100 and FCardTypeName='金卡'"), "A1:金卡:正常:200 ");
    EXPECT_EQ(ids(" FCardFlowno='f2' or mobile='f2'"), "A2:普通卡:挂失:50 ");
    // No list holds a deleted card, whatever the condition asks, nor does the lookup window's SQL.
    EXPECT_EQ(ids(" FCardFlowno='f7' or mobile='f7'"), "");
    EXPECT_EQ(ids("mobile='139'"), "A1:金卡:正常:200 A2:普通卡:挂失:50 ");
    EXPECT_EQ(ids(""), "A1:金卡:正常:200 A2:普通卡:挂失:50 N1:金卡:未使用:0 N2:金卡:正常:0 ");
    EXPECT_EQ(t.rows(host::memberListSql(50, "FCardId like 'D%'")), std::vector<std::string>{});
    lists.setBaseNumber(51);
    EXPECT_EQ(ids(""), "N1:金卡:未使用:0 ");
}

TEST_F(BusinessObjects, AMemberListAskedForSomeColumnsGivesThoseAndFiltersOnAny)
{
    host::MemberLists lists(t.path());
    lists.setBaseNumber(50);
    const auto every = lists.getList("FCardId='A1'", "");
    ASSERT_EQ(every.size(), 1u);
    EXPECT_EQ(every[0].text("FVipEmail"), "a@x.cn") << "asked for no columns, a list gives every one";

    lists.setColumns({"FCardId", "cur_num", "FCardTypeName"});
    const platform::Recordset some = lists.getListRecordset("status_name='正常' and mobile='139'", "");
    EXPECT_EQ(some.columns(), (std::vector<std::string>{"FCardId", "cur_num", "FCardTypeName"}));
    ASSERT_EQ(some.recordCount(), 1u);
    EXPECT_EQ(some.at(0, "FCardId").toString() + ":" + some.at(0, "cur_num").toString() + ":" +
                  some.at(0, "FCardTypeName").toString(),
              "A1:200:金卡");
    EXPECT_EQ(lists.getList("FCardId='A2'", "").at(0).size(), 3u);
    EXPECT_EQ(t.rows(lists.getListSql("FCardFlowno='F2'", "")), std::vector<std::string>{"A2|50|普通卡"})
        << "the text run at headquarters asks the same columns";

    for (const char* bad : {"", "FCardId,password", "FCardId from T_Pos_VipRecord --", "1x"}) {
        lists.setColumns({"FCardId", bad});
        EXPECT_THROW(lists.getListSql("", ""), std::invalid_argument) << bad;
    }
}

TEST_F(BusinessObjects, CardChecks)
{
    host::CardMaintain cards(t.path());
    EXPECT_TRUE(cards.checkPassword(Value("A1"), "123456"));
    EXPECT_FALSE(cards.checkPassword(Value("A1"), "12345"));
    EXPECT_TRUE(cards.checkPassword(Value("A2"), ""));
    EXPECT_FALSE(cards.checkPassword(Value("A1"), "x'' or ''1''=''1"))
        << "a doubled quote stays inside the text";
    EXPECT_TRUE(cards.checkCardExist("N1", ""));
    EXPECT_TRUE(cards.checkCardExist("N1", "FCardStatus=9"));
    EXPECT_FALSE(cards.checkCardExist("N2", "FCardStatus=9"));
    EXPECT_FALSE(cards.checkCardExist("ZZ", ""));
    Value type("03");
    EXPECT_TRUE(cards.checkCardTypeEqual("N1", type));
    Value other("01");
    EXPECT_FALSE(cards.checkCardTypeEqual("N1", other));
    EXPECT_EQ(cards.getCardTypeName("N1"), "金卡");
}

TEST_F(BusinessObjects, ChangeCardMovesHolderPointsAndBalanceAtOnce)
{
    test::ScopedClock clock(2026, 11, 23, 10, 30, 0);
    db::startLedgers(t.db(), {}, "开户"); // the cards' chains start from what they hold
    host::CardMaintain cards(t.path(), {7, "", "01", "2"});
    Value old("A1"), old2("A1"), type("03");
    std::string refused = "N2"; // issued already
    EXPECT_EQ(cards.changeMemberCard(old, old2, refused, type), 0);
    EXPECT_EQ(t.scalar("select FCardStatus from T_Pos_VipRecord where FCardId='A1'").toString(), "0");

    std::string fresh = "N1";
    EXPECT_EQ(cards.changeMemberCard(old, old2, fresh, type), 1);
    EXPECT_EQ(
        t.rows(
            "select FCardId,FCardStatus,FVipName,FAccNum,FDecNum,dbo.f_decrypt(FResidualAmt),password from "
            "T_Pos_VipRecord where FCardId in ('A1','N1') order by FCardId"),
        (std::vector<std::string>{"A1|3|张伟|0|0|0|123456", "N1|0|张伟|300|100|88.5|123456"}));
    EXPECT_EQ(t.scalar("select FCardId from T_Pos_VipConsume").toString(), "N1");
    // What moved is written as movements of both cards, which explain what each holds now.
    EXPECT_EQ(t.rows("select FCardId,FPlusAmt,FOldAmt,FResidualAmt,other1,FPlusRealAmt,fuserid,Fbranchid,"
                     "FBranchno,FOperDate,FBalanceStyle,FComFlag from T_Pos_AddMoneyList order by FID"),
              (std::vector<std::string>{"A1|-88.5|88.5|0|换卡转出|0|7|2|01|2026-11-23 10:30:00|0|1",
                                        "N1|88.5|0|88.5|换卡转入|0|7|2|01|2026-11-23 10:30:00|0|1"}));
    EXPECT_EQ(t.rows("select FCardId,flag,FVipNum,memo,Fbranchid,FBranchno,FOperDate,FComFlag from "
                     "T_Pos_VipGiftList order by FID"),
              (std::vector<std::string>{"A1|6|200|换卡转出|2|01|2026-11-23 10:30:00|1",
                                        "N1|7|200|换卡转入|2|01|2026-11-23 10:30:00|1"}));
    EXPECT_EQ(ledgerFindings(t), "");
}

TEST_F(BusinessObjects, ChangeCardAddsToWhatTheNewCardHeldAndMovesNothingItCannotRead)
{
    // N3 was loaded before it was issued: 20 yuan and 10 points left of 15.
    t.exec("insert into T_Pos_VipRecord (FCardId,FCardType,FCardStatus,FAccNum,FDecNum,FResidualAmt,"
           "FSavingFlag,FDeleted) values ('N3','03','9',15,5,'" +
           platform::encodeBalance("20") +
           "',1,0),"
           " ('A3','03','0',0,0,'0',1,0), ('N4','03','9',0,0,'0',1,0)");
    db::startLedgers(t.db(), {}, "开户");
    host::CardMaintain cards(t.path(), {7, "", "01", "2"});
    Value old("A1"), old2("A1"), type("03");
    std::string loaded = "N3";
    EXPECT_EQ(cards.changeMemberCard(old, old2, loaded, type), 1);
    EXPECT_EQ(t.rows("select FCardId,FAccNum,FDecNum,dbo.f_decrypt(FResidualAmt) from T_Pos_VipRecord "
                     "where FCardId in ('A1','N3') order by FCardId"),
              (std::vector<std::string>{"A1|0|0|0", "N3|315|105|108.5"}));
    EXPECT_EQ(t.rows("select FCardId,FPlusAmt,FOldAmt,FResidualAmt from T_Pos_AddMoneyList order by FID"),
              (std::vector<std::string>{"A1|-88.5|88.5|0", "N3|88.5|20|108.5"}));
    EXPECT_EQ(t.rows("select FCardId,flag,FVipNum from T_Pos_VipGiftList order by FID"),
              (std::vector<std::string>{"A1|6|200", "N3|7|200"}));
    EXPECT_EQ(ledgerFindings(t), "");

    // A card that holds nothing moves nothing: no movement of 0 is written.
    Value empty("A3"), empty2("A3");
    std::string next = "N4";
    EXPECT_EQ(cards.changeMemberCard(empty, empty2, next, type), 1);
    EXPECT_EQ(t.scalar("select count(*) from T_Pos_AddMoneyList where FCardId in ('A3','N4')").toInt() +
                  t.scalar("select count(*) from T_Pos_VipGiftList where FCardId in ('A3','N4')").toInt(),
              0);

    // A balance that does not decode cannot be moved: nothing is written.
    test::changeOutsideTheSystem(t.path(), "update T_Pos_VipRecord set FResidualAmt='?!' where FCardId='A2'");
    t.exec("update T_Pos_VipRecord set FCardStatus='9' where FCardId='N2'");
    const auto before = t.dump();
    Value unreadable("A2"), unreadable2("A2"), otherType("01");
    std::string target = "N2";
    try {
        cards.changeMemberCard(unreadable, unreadable2, target, otherType);
        ADD_FAILURE() << "the change was made";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "会员卡【A2】的储值余额无法解码，不能换卡！");
    }
    EXPECT_EQ(t.dump(), before);
}
TEST_F(BusinessObjects, UpdateWritesTheGivenColumnsOfTheNamedCard)
{
    host::CardMaintain cards(t.path());
    platform::FieldMap change{{"FCardId", "A2"}, {"FCardStatus", 0}, {"FVipEndDate", "2027-01-01"}};
    int code = 10;
    EXPECT_TRUE(cards.updateMCInfo(change, 4, code));
    EXPECT_EQ(t.rows("select FCardStatus,FVipEndDate from T_Pos_VipRecord where FCardId='A2'"),
              std::vector<std::string>{"0|2027-01-01"});
    for (const char* card : {"ZZ", "D1"}) {
        platform::FieldMap gone{{"FCardId", card}, {"FCardStatus", 3}};
        EXPECT_FALSE(cards.updateMCInfo(gone, 4, code)) << card;
    }
    EXPECT_EQ(t.scalar("select FCardStatus from T_Pos_VipRecord where FCardId='D1'").toString(), "0")
        << "a deleted card is not written";
}

TEST_F(BusinessObjects, ApprovalMakesPendingValuesTheCardsRecord)
{
    t.exec("insert into T_Pos_VipRecordCheck "
           "(FCardId,FVipName,mobile,FCardType,FCardStatus,FVipEmail,FModifyDate)"
           " values ('A1','张伟','139','03','0','new@x.cn','2026-11-23'), "
           "('A2','李娜娜','139','01','2','b@x.cn','2026-11-20')");
    host::ApprovalMaintain approval(t.path());
    std::string condition = " and FModifyDate ='2026-11-23'";
    auto pending = approval.getList(condition);
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_EQ(pending[0].text("type_name"), "金卡");
    EXPECT_EQ(pending[0].text("status_name"), "正常");
    auto current = approval.getRalCurMCInfo();
    ASSERT_EQ(current.size(), 1u);
    EXPECT_EQ(current[0].text("FVipEmail"), "a@x.cn");

    platform::RecordList package{{{"FCardId", "A1"}, {"FFlowId", "1"}}};
    approval.updateMCApproveInfo(package);
    EXPECT_EQ(t.scalar("select FVipEmail from T_Pos_VipRecord where FCardId='A1'").toString(), "new@x.cn");
    EXPECT_EQ(t.rows("select FCardId from T_Pos_VipRecordCheck"), std::vector<std::string>{"A2"});

    platform::RecordList unknown{{{"FCardId", "A2"}}, {{"FCardId", "ZZ"}}};
    EXPECT_THROW(approval.updateMCApproveInfo(unknown), std::runtime_error);
    EXPECT_EQ(t.scalar("select FVipName from T_Pos_VipRecord where FCardId='A2'").toString(), "李娜")
        << "nothing approved";
}

TEST_F(BusinessObjects, SettingsAndTables)
{
    t.exec("insert into t_SystemProfile values ('VIP','MCType','1'), ('VIP','CardNumProfix','A''B'), "
           "('ic','is_branch','1');"
           "insert into t_PayMethod values (1,'01','现金',0), (5,'05','旧券',1)");
    host::SettingsMaintain settings(t.path());
    const auto vip = settings.getConfigInfo("VIP");
    EXPECT_EQ(vip.size(), 2u);
    EXPECT_EQ(vip.text("cardnumprofix"), "A'B");
    std::string batch =
        "UPDATE t_systemprofile SET FValue = '0' WHERE (FCategory = 'VIP') AND (FKey = 'MCType')\r\n";
    EXPECT_TRUE(settings.saveConfigInfo(batch));
    EXPECT_EQ(settings.getConfigInfo("VIP").text("MCType"), "0");

    host::CardMaintain cards(t.path());
    EXPECT_EQ(cards.getTableInfo(platform::table::PaymentMethods, "FDeleted=0 and FNumber='01'", false)
                  .field("FName")
                  .toString(),
              "现金");
    EXPECT_EQ(
        cards.getTableInfo(platform::table::CardTypes, " Ftypeid='03'", false).field("type_name").toString(),
        "金卡");
}

TEST(DatabaseConnection, LocalServerIsAFileOfTheDataFolderThatIsNeverCreated)
{
    using namespace std::chrono_literals;
    test::TestDatabase hq("HQ.db");
    host::DatabaseConnection connection(hq.folder(), 2s);
    EXPECT_EQ(connection.resolve(
                  "Provider=SQLOLEDB.1;User ID=sa;Password=x;Data Source=(local);Initial Catalog=HQ"),
              hq.folder() + "/HQ.db");
    connection.open("Provider=SQLOLEDB.1;User ID=sa;Password=x;Data Source=(LOCAL);Initial Catalog=HQ");
    EXPECT_TRUE(connection.isOpen());
    connection.execute("insert into t_Log (FUserID) values (1)");
    EXPECT_EQ(connection.openRecordset("select count(*) as n from t_Log").field("n").toInt(), 1);
    sqlite3_stmt* busy = nullptr;
    sqlite3_prepare_v2(db::sharedDatabase(hq.path()).handle(), "PRAGMA busy_timeout", -1, &busy, nullptr);
    ASSERT_EQ(sqlite3_step(busy), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(busy, 0), 2000)
        << "the file waits for another writer no longer than the deadline";
    sqlite3_finalize(busy);
    connection.close();

    host::DatabaseConnection missing(hq.folder(), 2s);
    EXPECT_ANY_THROW(
        missing.open("Provider=SQLOLEDB.1;User ID=sa;Password=x;Data Source=(local);Initial Catalog=Gone"));
    EXPECT_FALSE(std::filesystem::exists(hq.folder() + "/Gone.db"));
    EXPECT_ANY_THROW(
        missing.open("Provider=SQLOLEDB.1;User ID=sa;Password=x;Data Source=10.1.1.1;Initial Catalog=HQ"));
    EXPECT_FALSE(missing.isOpen());
}

TEST(DatabaseConnection, AHeadquartersOfAnotherSchemaVersionIsRefusedAndTheOperatorToldWhyOnce)
{
    test::TestHost host({.withHeadquarters = true});
    const int newer = db::currentSchemaVersion() + 1;
    test::changeOutsideTheSystem(host.hq().path(), "insert into t_SchemaVersion (FVersion) values (" +
                                                       std::to_string(newer) + ")");
    const std::string text =
        "Provider=SQLOLEDB.1;User ID=sa;Password=x;Data Source=(local);Initial Catalog=HQ";
    for (int attempt = 0; attempt < 2; ++attempt) {
        host::DatabaseConnection connection(host.config().dataFolder, host.config().hqDeadline);
        EXPECT_THROW(connection.open(text), db::SchemaVersionError);
        EXPECT_FALSE(connection.isOpen());
    }
    ASSERT_EQ(host.messages().texts().size(), 1u) << "told once, not at every attempt";
    EXPECT_TRUE(host.messages().last().starts_with("数据库 " + host.hq().path() + " 的结构版本为 " +
                                                   std::to_string(newer)))
        << host.messages().last();
}
