// The seals of the cards: computed as HMAC-SHA256 says, written with every change the system
// makes, left behind by a change made elsewhere, and refusing to build on such a change until an
// administrator accepts the card.
#include <gtest/gtest.h>

#include "platform/BalanceCodec.h"
#include "sql/DbError.h"
#include "sql/SqliteDialect.h"
#include "sql/TsqlParser.h"
#include "store/CardSeal.h"
#include "store/Schema.h"
#include "store/SchemaUpgrade.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using namespace ormex;

namespace {

std::vector<std::string> brokenCards(db::TsqlDatabase& db)
{
    std::vector<std::string> cards;
    for (const auto& broken : db::sealMismatches(db, test::testSealKey()))
        cards.push_back(broken.card);
    return cards;
}

void seedTwoCards(test::TestDatabase& t)
{
    t.exec("insert into T_Pos_VipRecord (FCardId,FCardStatus,FAccNum,FDecNum,FResidualAmt) values"
           " ('C100','0',300,100,'" +
           platform::encodeBalance("88.5") + "'), ('C101','0',50,0,'0')");
}

} // namespace

TEST(CardSeal, IsTheFirstHalfOfTheHmacOfTheCardsValues)
{
    // Independently: Python's hmac.new(key, b"C100\x1f9<?GGI\x1f300\x1f100", sha256).
    EXPECT_EQ(db::cardSeal(test::testSealKey(), {"C100", "9<?GGI", 300, 100}),
              "15759e64e487d06a49fdda2eb1e1cd3f");
    EXPECT_EQ(db::cardSeal(test::testSealKey(), {"卡1", "", 0.1 + 0.2, -0.0}),
              "4515bdd29eac1f29b00b2be7b039c280")
        << "numbers as the system writes them";
    EXPECT_NE(db::cardSeal(test::testSealKey(), {"C100", "9<?GGI", 300, 101}),
              db::cardSeal(test::testSealKey(), {"C100", "9<?GGI", 300, 100}));
    // Python: hmac.new(key, b"C100\x1f9<?GGI\x1f300\x1f100\x1f2\x1fab", sha256), the ledger head after
    // the values once the card's movements are chained.
    EXPECT_EQ(db::cardSeal(test::testSealKey(), {"C100", "9<?GGI", 300, 100, 2, "ab"}),
              "5c38d293f25b278917ee0427d66a857b");

    const db::SealKey key = db::newSealKey();
    EXPECT_EQ(db::parseSealKey(db::sealKeyText(key)), key);
    for (const char* bad : {"", "00", "zz4142434445464748494a4b4c4d4e4f505152535455565758595a5b5c5d5e5f",
                            "404142434445464748494a4b4c4d4e4f505152535455565758595a5b5c5d5e5f00"})
        EXPECT_FALSE(db::parseSealKey(bad)) << bad;
}

TEST(CardSeal, TheSystemsWritesKeepEveryCardSealed)
{
    test::TestDatabase t;
    seedTwoCards(t);
    t.db().execute("update T_Pos_VipRecord set FAccNum=isnull(FAccNum,0)+10 where FCardId='C100'\r\n"
                   "update T_Pos_VipRecord set FResidualAmt='" +
                   platform::encodeBalance("90") +
                   "', memo='x' where FCardId='c101'\r\n"
                   "update T_Pos_VipRecord set FCardStatus='2' where FCardId='C101'\r\n"
                   "update T_Pos_VipRecord set FCardId='C102' where FCardId='C101'");
    EXPECT_TRUE(brokenCards(t.db()).empty());
    EXPECT_EQ(t.scalar("select FSeal from T_Pos_VipRecord where FCardId='C100'").toString(),
              db::cardSeal(test::testSealKey(), {"C100", platform::encodeBalance("88.5"), 310, 100}));
    // Native SQL of a connection that asked for it is sealed by its trigger.
    t.exec("update T_Pos_VipRecord set FAccNum=FAccNum*2 where FCardId='C100'");
    EXPECT_TRUE(brokenCards(t.db()).empty());
}

TEST(CardSeal, OnlyUpdatesOfTheSealedColumnsWriteTheSeal)
{
    const auto translated = [](const std::string& statement) {
        return db::parseBatch(statement, db::SqliteDialect::instance(), &db::cardSealColumn()).shapes.at(0);
    };
    EXPECT_EQ(
        translated("update T_Pos_VipRecord set FDecNum=case when 5>10 then 10 else 5 end,FAccNum= 10 "
                   "where FCardId='X'"),
        "UPDATE T_Pos_VipRecord set FDecNum = case when ?1 > ?2 then ?3 else ?4 end , FAccNum = ?5,"
        "FSeal=ormex_seal_next(FSeal,FCardId,FResidualAmt,FAccNum,FDecNum,FLedgerSeq,FLedgerHash,FCardId,"
        "FResidualAmt,(?6),(case when ?7 > ?8 then ?9 else ?10 end),FLedgerSeq,FLedgerHash) where FCardId = "
        "?11");
    EXPECT_EQ(translated("update T_Pos_VipRecord set FCardStatus='2' where FCardId='X'"),
              "UPDATE T_Pos_VipRecord set FCardStatus = ?1 where FCardId = ?2");
    EXPECT_EQ(translated("update T_Pos_VipConsume set FAccNum=1"),
              "UPDATE T_Pos_VipConsume set FAccNum = ?1");
    EXPECT_EQ(
        db::parseBatch("update T_Pos_VipRecord set FAccNum=1", db::SqliteDialect::instance()).shapes.at(0),
        "UPDATE T_Pos_VipRecord set FAccNum = ?1")
        << "a connection that does not seal";
}

TEST(CardSeal, AChangeMadeElsewhereIsFoundAndTheSystemRefusesToBuildOnItUntilAccepted)
{
    test::TestDatabase t;
    seedTwoCards(t);
    test::changeOutsideTheSystem(
        t.path(), "update T_Pos_VipRecord set FResidualAmt='" + platform::encodeBalance("8850") +
                      "' where FCardId='C100'; insert into T_Pos_VipRecord (FCardId) values ('C999')");
    EXPECT_EQ(brokenCards(t.db()), (std::vector<std::string>{"C100", "C999"}));

    // A batch over both cards: the good card is not changed either.
    const auto before = t.dump();
    try {
        t.db().execute("update T_Pos_VipRecord set FAccNum=FAccNum+1 where FCardId='C101'\r\n"
                       "update T_Pos_VipRecord set FAccNum=FAccNum+1 where FCardId='C100'");
        ADD_FAILURE() << "the batch ran";
    } catch (const db::DbError& error) {
        EXPECT_NE(std::string(error.what()).find(db::kSealBrokenMessage), std::string::npos) << error.what();
    }
    EXPECT_EQ(t.dump(), before);
    // A status change does not touch what is sealed and goes through.
    t.db().execute("update T_Pos_VipRecord set FCardStatus='2' where FCardId='C100'");

    EXPECT_EQ(db::resealCards(t.db(), test::testSealKey(), {"c100"}, "admin"), 1);
    EXPECT_EQ(brokenCards(t.db()), std::vector<std::string>{"C999"});
    EXPECT_EQ(t.rows("select FCardId, FFunctionID, FDescription from t_OperLog"),
              std::vector<std::string>{"C100|SEAL|管理员admin核对后确认余额8850、积分200"});
    t.db().execute("update T_Pos_VipRecord set FAccNum=FAccNum+1 where FCardId='C100'");
    EXPECT_EQ(db::resealCards(t.db(), test::testSealKey(), {}, "admin"), 1) << "every card left";
    EXPECT_TRUE(brokenCards(t.db()).empty());
}

TEST(CardSeal, AnOlderDatabaseGetsTheColumnAndItsCardsWaitForAnAdministrator)
{
    test::TestDatabase folder;
    const std::string path = folder.folder() + "/older.db";
    test::makeFirstVersionDatabase(path, "alter table T_Pos_VipRecord drop column FSeal");
    auto older = db::Database::open(path);
    db::upgradeSchema(*older);
    EXPECT_EQ(brokenCards(*older).size(), 2u) << "nothing vouches for values written before the seals";
    EXPECT_EQ(db::resealCards(*older, test::testSealKey(), {}, "admin"), 2);
    EXPECT_TRUE(brokenCards(*older).empty());
}
