// The connection kept per database file: reused while the file stands, opened afresh when the
// file was replaced, and never creating a missing file.
#include <gtest/gtest.h>

#include <filesystem>

#include "sql/DbError.h"
#include "store/SharedDatabases.h"
#include "support/SchemaFixture.h"
#include "support/TestDatabase.h"

using ormex::db::sharedDatabase;
using ormex::test::TestDatabase;

TEST(SharedDatabases, AReplacedFileIsOpenedAfreshAndAMissingOneIsNotCreated)
{
    TestDatabase first("cards.db");
    first.exec("insert into T_Pos_VipRecord (FCardId) values ('OLD')");
    const std::string path = first.path();
    auto& kept = sharedDatabase(path);
    EXPECT_EQ(&sharedDatabase(path), &kept);
    EXPECT_EQ(kept.query("select count(*) as n from T_Pos_VipRecord").field("n").toInt(), 1);

    // Another database moved into its place, as a restore does (both written through to their
    // main files first).
    TestDatabase second("replacement.db");
    second.exec("insert into T_Pos_VipRecord (FCardId) values ('NEW1'), ('NEW2')");
    for (TestDatabase* db : {&first, &second})
        db->db().executeNative("PRAGMA wal_checkpoint(TRUNCATE)");
    std::filesystem::rename(second.path(), path);
    EXPECT_EQ(sharedDatabase(path)
                  .query("select count(*) as n from T_Pos_VipRecord where FCardId like 'NEW%'")
                  .field("n")
                  .toInt(),
              2);

    std::filesystem::remove(path);
    EXPECT_THROW(sharedDatabase(path), ormex::db::OpenError);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SharedDatabases, ADatabaseMadeBeforeTheHeadquartersQueueGetsItWhenOpened)
{
    TestDatabase folder;
    const std::string path = folder.folder() + "/older.db";
    ormex::test::makeFirstVersionDatabase(path, "drop table t_HqOutbox; drop table t_HqReplay");
    auto& db = sharedDatabase(path);
    db.execute("insert into t_HqOutbox (FOrigin,FBatch) values ('o','select 1')");
    db.execute("insert into t_HqReplay (FOrigin,FSeq) values ('o',1)");
    EXPECT_EQ(db.query("select count(*) as n from T_Pos_VipRecord").field("n").toInt(), 2);
    EXPECT_THROW(db.execute("insert into t_HqReplay (FOrigin,FSeq) values ('o',1)"),
                 ormex::db::StatementError)
        << "a replay is recorded once";
}

TEST(SharedDatabases, AnOperationLogMadeBeforeItNamedCardsGetsTheColumnsWhenOpened)
{
    TestDatabase folder;
    const std::string path = folder.folder() + "/older-log.db";
    ormex::test::makeFirstVersionDatabase(
        path, "drop table t_OperLog;"
              "create table t_OperLog (FID integer primary key autoincrement, FDate text, FUserID integer,"
              " FFunctionID text, FType integer, FDescription text, FMachineName text, FIPAddress text,"
              " FSession text);"
              "insert into t_OperLog (FDescription) values ('before')");
    auto& db = sharedDatabase(path);
    db.execute("insert into t_OperLog (FDescription,FCardId,FBranchNo) values ('after','C1','01')");
    EXPECT_EQ(ormex::test::rowsOf(db, "select FDescription, FCardId from t_OperLog order by FID"),
              (std::vector<std::string>{"before|", "after|C1"}));
    EXPECT_EQ(
        db.query("select count(*) as n from sqlite_master where name='IX_OperLog_Card'").field("n").toInt(),
        1);
    EXPECT_EQ(db.query("select count(*) as n from t_OperLog where FCardId='c1'").field("n").toInt(), 1)
        << "card numbers compare without case";
}
