// The movement ledger of the cards: what the system writes stays chained and explains the cards,
// and each way a person with the files could change a card's history is found.
#include <gtest/gtest.h>

#include <functional>

#include "platform/BalanceCodec.h"
#include "store/CardLedger.h"
#include "store/SchemaUpgrade.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

std::string recharge(const std::string& card, const std::string& amount, const std::string& balance)
{
    return "update T_Pos_VipRecord set FResidualAmt='" + platform::encodeBalance(balance) +
           "' where FCardId='" + card +
           "'\r\ninsert T_Pos_AddMoneyList(FCardId, FPlusAmt, fuserid, FOperDate, FOldAmt, Fbranchid,"
           " FBranchno, other1, FPlusRealAmt, FResidualAmt, FBalanceStyle, FComFlag) select '" +
           card + "'," + amount + ",1,getdate(),0,1,'01','',0,'" + balance + "',1,'1'";
}

std::string pointsMovement(const std::string& card, int flag, const std::string& points,
                           const std::string& update)
{
    return "insert into "
           "T_Pos_VipGiftList(Fbranchid,FBranchno,FCardId,flag,FItemNum,FVipNum,fuserid,FOperDate,memo,"
           "FComFlag) select 1,'01','" +
           card + "','" + std::to_string(flag) + "',0," + points +
           ",1,getdate(),'',0\r\nupdate T_Pos_VipRecord set " + update + " where FCardId='" + card + "'";
}

// Two cards with a recharge, a second recharge, a reward and a deduction on C1, a recharge on C2.
void seedHistory(test::TestDatabase& t)
{
    t.db().execute("insert into T_Pos_VipRecord (FCardId, FCardStatus) values ('C1', '0')\r\n"
                   "insert into T_Pos_VipRecord (FCardId, FCardStatus) values ('C2', '0')");
    t.db().execute(recharge("C1", "100", "100"));
    t.db().execute(recharge("C1", "50.5", "150.5"));
    t.db().execute(pointsMovement("C1", 3, "30", "FAccNum=FAccNum+30"));
    t.db().execute(pointsMovement("C1", 1, "10", "FDecNum=FDecNum+10"));
    t.db().execute(recharge("C2", "20", "20"));
}

std::string findingsText(db::Database& db)
{
    std::string text;
    for (const db::LedgerFinding& finding : db::ledgerFindings(db))
        text += finding.card + ": " + finding.text + "\n";
    return text;
}

std::string findingsText(test::TestDatabase& t)
{
    return findingsText(t.db());
}

} // namespace

TEST(CardLedger, TheSystemsMovementsAreChainedAndExplainTheCards)
{
    test::TestDatabase t;
    seedHistory(t);
    EXPECT_EQ(findingsText(t), "");
    EXPECT_EQ(t.rows("select FCardId, FLedgerSeq from T_Pos_VipRecord order by FCardId"),
              (std::vector<std::string>{"C1|4", "C2|1"}));
    EXPECT_EQ(t.rows("select FSeq from T_Pos_AddMoneyList where FCardId='C1' union all "
                     "select FSeq from T_Pos_VipGiftList where FCardId='C1' order by 1"),
              (std::vector<std::string>{"1", "2", "3", "4"}));
    EXPECT_TRUE(db::sealMismatches(t.db(), test::testSealKey()).empty());
}

TEST(CardLedger, EveryWayOfRewritingACardsHistoryIsFound)
{
    struct Case
    {
        const char* what;
        std::function<std::string(test::TestDatabase&)> change; // native SQL run outside the system
        const char* found;                                      // a part of a finding on C1
    };
    const std::vector<Case> cases = {
        {"the newest money row deleted",
         [](test::TestDatabase&) {
             return "delete from T_Pos_AddMoneyList where FID=(select max(FID) from T_Pos_AddMoneyList where "
                    "FCardId='C1')";
         },
         "缺少第2笔流水"},
        {"the newest points row deleted",
         [](test::TestDatabase&) { return "delete from T_Pos_VipGiftList where FSeq=4"; },
         "最新的流水被删除"},
        {"a row in the middle deleted",
         [](test::TestDatabase&) { return "delete from T_Pos_AddMoneyList where FCardId='C1' and FSeq=1"; },
         "缺少第1笔流水"},
        {"an amount altered",
         [](test::TestDatabase&) {
             return "update T_Pos_AddMoneyList set FPlusAmt=500 where FSeq=2 and FCardId='C1'";
         },
         "第2笔流水被改动"},
        {"only the operator altered",
         [](test::TestDatabase&) { return "update T_Pos_VipGiftList set fuserid=7 where FSeq=3"; },
         "第3笔流水被改动"},
        {"a movement added",
         [](test::TestDatabase&) {
             return "insert into T_Pos_VipGiftList (FCardId, flag, FVipNum) values ('C1', '3', 1000)";
         },
         "不在账本中"},
        {"a movement added with another's link",
         [](test::TestDatabase&) {
             return "insert into T_Pos_VipGiftList (FCardId, flag, FVipNum, FSeq, FChain) select FCardId, "
                    "flag, 1000,"
                    " FSeq, FChain from T_Pos_VipGiftList where FSeq=4";
         },
         "第4笔流水重复"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::TestDatabase t;
        seedHistory(t);
        test::changeOutsideTheSystem(t.path(), c.change(t));
        const std::string found = findingsText(t);
        EXPECT_NE(found.find(c.found), std::string::npos) << found;
        EXPECT_EQ(found.rfind("C1: ", 0), 0u) << found;
        EXPECT_EQ(found.find("C2"), std::string::npos) << found;
    }
}

TEST(CardLedger, AnOlderStateOfTheCardWrittenBackIsFound)
{
    test::TestDatabase t;
    seedHistory(t);
    // Taken before the second recharge: the balance and seal alone, then the whole row.
    const std::string oldRow =
        "select FResidualAmt, FSeal, FLedgerSeq, FLedgerHash from T_Pos_VipRecord where "
        "FCardId='C9'";
    t.db().execute("insert into T_Pos_VipRecord (FCardId, FCardStatus) values ('C9', '0')");
    t.db().execute(recharge("C9", "100", "100"));
    const auto pair = t.rows("select FResidualAmt, FSeal from T_Pos_VipRecord where FCardId='C9'");
    const auto row = t.rows(oldRow);
    t.db().execute(recharge("C9", "50", "150"));
    ASSERT_EQ(findingsText(t), "");

    const auto fields = [](const std::string& joined) {
        std::vector<std::string> out;
        std::size_t from = 0;
        for (std::size_t bar; (bar = joined.find('|', from)) != std::string::npos; from = bar + 1)
            out.push_back(joined.substr(from, bar - from));
        out.push_back(joined.substr(from));
        return out;
    };
    const auto p = fields(pair.at(0));
    test::changeOutsideTheSystem(t.path(), "update T_Pos_VipRecord set FResidualAmt='" + p[0] + "', FSeal='" +
                                               p[1] + "' where FCardId='C9'");
    EXPECT_EQ(db::sealMismatches(t.db(), test::testSealKey()).size(), 1u)
        << "the seal covers the ledger's head";

    const auto r = fields(row.at(0));
    test::changeOutsideTheSystem(t.path(), "update T_Pos_VipRecord set FResidualAmt='" + r[0] + "', FSeal='" +
                                               r[1] + "', FLedgerSeq=" + r[2] + ", FLedgerHash='" + r[3] +
                                               "' where FCardId='C9'");
    EXPECT_TRUE(db::sealMismatches(t.db(), test::testSealKey()).empty()) << "a genuine older state";
    const std::string found = findingsText(t);
    EXPECT_NE(found.find("C9: 卡记录停在第1笔流水，而流水已到第2笔"), std::string::npos) << found;
}

TEST(CardLedger, AnOlderDatabaseStartsEachChainFromTheCardAsItStands)
{
    test::TestDatabase folder;
    const std::string path = folder.folder() + "/older.db";
    // Beside the first version's cards, whose seals that build did not write, one it sealed, with a
    // recharge and a reward.
    const std::string balance = platform::encodeBalance("5");
    test::makeFirstVersionDatabase(
        path,
        "insert into T_Pos_VipRecord (FCardId, FCardStatus, FResidualAmt, FAccNum, FDecNum, FSeal) values"
        " ('C900', '0', '" +
            balance + "', 7, 0, '" + db::cardSeal(test::testSealKey(), {"C900", balance, 7, 0}) +
            "'); insert into T_Pos_AddMoneyList (FCardId, FPlusAmt, FOperDate) values ('C900', 5, "
            "'2025-01-01');"
            " insert into T_Pos_VipGiftList (FCardId, flag, FVipNum, FOperDate) values ('C900', '3', 7, "
            "'2025-01-02')");
    auto older = db::Database::open(path);
    db::upgradeSchema(*older);
    EXPECT_EQ(test::rowsOf(*older, "select FCardId, FSeq, FAccNum, FReason from t_CardLedgerStart"),
              std::vector<std::string>{"C900|2|7|建立账本时的余额和积分"});
    const auto onlyTheOthers = [&] {
        for (const db::LedgerFinding& finding : db::ledgerFindings(*older))
            if (finding.card == "C900") return false;
        return true;
    };
    EXPECT_TRUE(onlyTheOthers()) << "the movements before the ledger are in its chain";
    older->execute(recharge("C900", "1", "6"));
    EXPECT_TRUE(onlyTheOthers()) << "and a later one goes on from it";
    test::changeOutsideTheSystem(path, "delete from T_Pos_AddMoneyList where FCardId='C900' and FSeq=1");
    EXPECT_FALSE(onlyTheOthers());

    // An administrator who reviewed the cards accepts them as they stand: their chains start again.
    EXPECT_EQ(db::acceptCards(*older, test::testSealKey(), {}, "admin"), 3);
    EXPECT_EQ(findingsText(*older), "");
    EXPECT_TRUE(db::sealMismatches(*older, test::testSealKey()).empty());
}
