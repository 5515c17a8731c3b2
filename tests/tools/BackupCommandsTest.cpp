// ormex-db backup and restore: a backup taken while another process writes holds each of its
// transactions wholly or not at all and every card matches its seal; a restore checks the copy
// first, refuses one that is changed or not of this system with nothing changed, replaces the
// database under the connections that have it open, and logs who restored what.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AdministeredDatabase.h"
#include "platform/BalanceCodec.h"
#include "sql/Database.h"
#include "sql/SqliteStatement.h"
#include "support/TestDatabase.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using ormex::test::runCommand;

const auto rowsOf = ormex::test::rowsOfFile;

std::string integrityOf(const std::string& db)
{
    const auto database = ormex::db::Database::open(db);
    ormex::db::SqliteStatement check(database->handle(), "PRAGMA integrity_check");
    return check.step() ? check.column(0).toString() : "";
}

// Starts the ormex-db program with the arguments; its output is dropped.
pid_t startProgram(const std::vector<std::string>& args)
{
    std::vector<char*> argv{const_cast<char*>(ORMEX_DB_BINARY)};
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, ORMEX_DB_BINARY, &quiet, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&quiet);
    return rc == 0 ? pid : -1;
}

int exitCodeOf(pid_t pid)
{
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// True when another connection holds the database's write lock.
bool writeLocked(const std::string& db)
{
    sqlite3* probe = nullptr;
    sqlite3_open_v2(db.c_str(), &probe, SQLITE_OPEN_READWRITE, nullptr);
    const bool locked = sqlite3_exec(probe, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_BUSY;
    sqlite3_exec(probe, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(probe);
    return locked;
}

class BackupCommands : public ormex::test::AdministeredDatabase
{
protected:
    std::string backup = dir + "/backup.db";

    void SetUp() override
    {
        AdministeredDatabase::SetUp();
        if (HasFatalFailure()) return;
        runBatch(db,
                 ormex::test::openedCardSql("C1", "50", "10") + ormex::test::openedCardSql("C2", "8", "30"));
    }
    void runBatch(const std::string& on, const std::string& sql)
    {
        std::ofstream(dir + "/batch.sql") << sql;
        const auto ran = runCommand({"run", on, dir + "/batch.sql", "--user", "admin"});
        ASSERT_EQ(ran.code, 0) << ran.err;
    }
    std::vector<std::string> cards(const std::string& of) const
    {
        return rowsOf(of,
                      "select FCardId, FResidualAmt, FAccNum, FSeal from T_Pos_VipRecord order by FCardId");
    }
    // Files a copy left behind in the folder.
    std::vector<std::string> leftovers() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(dir)) {
            const std::string name = entry.path().filename().string();
            if (name.find(".partial-") != std::string::npos || name.find(".restoring-") != std::string::npos)
                found.push_back(name);
        }
        return found;
    }
};

} // namespace

TEST_F(BackupCommands, ABackupTakenDuringALongBatchHoldsItWhollyOrNotAtAll)
{
    constexpr int kTypes = 100000;
    std::string sql;
    for (int i = 0; i < kTypes; ++i)
        sql += "insert into T_Pos_VipType (FTypeId,type_name) values ('T" + std::to_string(i) + "','x')\r\n";
    // A reward of one point to each card: its movement and the card's points.
    for (const char* card : {"C1", "C2"})
        sql += std::string("insert into T_Pos_VipGiftList (FCardId,flag,FVipNum,FOperDate) values ('") +
               card + "','3',1,getdate())\r\n";
    sql += "update T_Pos_VipRecord set FAccNum=FAccNum+1";
    std::ofstream(dir + "/long.sql") << sql;
    const pid_t writer = startProgram({"run", db, dir + "/long.sql", "--user", "admin"});
    ASSERT_GT(writer, 0);
    // The batch holds the write lock for long; a login's own writes take a moment.
    int seen = 0;
    for (int polls = 0; seen < 2 && polls < 3000; ++polls) {
        seen = writeLocked(db) ? seen + 1 : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(seen ? 20 : 2));
    }
    EXPECT_EQ(seen, 2) << "the batch was not seen under way";

    const auto taken = runCommand({"backup", db, backup});
    ASSERT_EQ(taken.code, 0) << taken.err;
    EXPECT_NE(taken.out.find(": 2 card(s)"), std::string::npos) << taken.out;
    EXPECT_EQ(exitCodeOf(writer), 0) << "the writer went on while the backup was taken";

    const std::string types = rowsOf(backup, "select count(*) from T_Pos_VipType").at(0);
    const std::string points = types == "0" ? "10" : "11";
    EXPECT_TRUE(types == "0" || types == std::to_string(kTypes)) << types;
    EXPECT_EQ(rowsOf(backup, "select FAccNum from T_Pos_VipRecord where FCardId='C1'").at(0), points)
        << "the batch's last statement goes with its first";
    EXPECT_EQ(runCommand({"verify", backup}).out, "every card matches its seal and its movement ledger\n");
    EXPECT_EQ(rowsOf(db, "select count(*) from T_Pos_VipType").at(0), std::to_string(kTypes));
    EXPECT_TRUE(leftovers().empty());

    const auto again = runCommand({"backup", db, backup});
    EXPECT_EQ(again.code, 1);
    EXPECT_NE(again.err.find("never overwrites"), std::string::npos) << again.err;
}

TEST_F(BackupCommands, ARestoreReplacesTheDatabaseUnderItsOpenConnectionsAndIsLogged)
{
    ASSERT_EQ(runCommand({"backup", db, backup}).code, 0);
    const std::vector<std::string> atBackup = cards(db);
    runBatch(db, "update T_Pos_VipRecord set FResidualAmt='" +
                     ormex::platform::encodeBalance(std::string("1")) +
                     "' where FCardId='C1'\r\ninsert into T_Pos_VipRecord (FCardId) values ('C3')");

    // A till has the database open, with its write-ahead log, while it is restored.
    auto till = ormex::db::Database::open(db);
    ASSERT_EQ(till->query("select count(*) as n from T_Pos_VipRecord").field("n").toInt(), 3);
    const auto restored = runCommand({"restore", backup, db, "--user", "admin"});
    ASSERT_EQ(restored.code, 0) << restored.err;
    EXPECT_NE(restored.out.find("restored " + db + " from " + backup), std::string::npos) << restored.out;
    EXPECT_EQ(till->query("select count(*) as n from T_Pos_VipRecord").field("n").toInt(), 2)
        << "the till sees the restored database";
    till->executeNative("insert into T_Pos_VipType (FTypeId,type_name) values ('09','after')");
    till.reset();

    EXPECT_EQ(cards(db), atBackup);
    EXPECT_EQ(integrityOf(db), "ok");
    EXPECT_EQ(rowsOf(db, "select type_name from T_Pos_VipType"), std::vector<std::string>{"after"});
    const auto log = rowsOf(db, "select FDescription from t_OperLog where FFunctionID='RESTORE'");
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("【" + backup + "】"), std::string::npos) << log[0];
    EXPECT_NE(log[0].find("操作员：admin"), std::string::npos) << log[0];
    EXPECT_TRUE(leftovers().empty());

    // A database lost with its files is restored too, the operator logging in to the copy; a
    // write-ahead log left of the lost one is not read into it.
    fs::remove(db);
    std::ofstream(db + "-wal") << "left over";
    EXPECT_EQ(runCommand({"restore", backup, db, "--user", "admin"}).code, 1);
    EXPECT_FALSE(fs::exists(db));
    fs::remove(db + "-wal");
    fs::remove(db + "-shm");
    const auto recovered = runCommand({"restore", backup, db, "--user", "admin"});
    ASSERT_EQ(recovered.code, 0) << recovered.err;
    EXPECT_EQ(cards(db), atBackup);
}

TEST_F(BackupCommands, ARestoreIsRefusedWithNothingChangedUnlessTheCopyAndTheOperatorAreSound)
{
    ASSERT_EQ(runCommand({"backup", db, backup}).code, 0);
    const std::string changed = dir + "/changed.db", newer = dir + "/newer.db", text = dir + "/notes.txt";
    fs::copy_file(backup, changed);
    ormex::test::changeOutsideTheSystem(changed, "update T_Pos_VipRecord set FResidualAmt='" +
                                                     ormex::platform::encodeBalance(std::string("5000")) +
                                                     "' where FCardId='C2'");
    fs::copy_file(backup, newer);
    ormex::test::changeOutsideTheSystem(newer, "insert into t_SchemaVersion (FVersion) values (99)");
    std::ofstream(text) << "not a database";
    runBatch(db, "update T_Pos_VipRecord set FAccNum=77 where FCardId='C1'");
    const std::vector<std::string> before = cards(db);

    struct Case
    {
        std::string file;
        std::vector<std::string> user;
        int code;
        std::string told;
    };
    for (const Case& c :
         {Case{changed, {"--user", "admin"}, 1, "card C2: balance 5000.00"},
          Case{newer, {"--user", "admin"}, 1, "schema version 99 is newer"},
          Case{text, {"--user", "admin"}, 1, "not a database"},
          Case{dir + "/missing.db", {"--user", "admin"}, 1, "there is no backup"},
          Case{backup, {}, 2, "--user"}, Case{backup, {"--user", "till1"}, 1, "【管理命令写入数据库】"}}) {
        std::vector<std::string> args{"restore", c.file, db};
        args.insert(args.end(), c.user.begin(), c.user.end());
        const auto refused = runCommand(args);
        EXPECT_EQ(refused.code, c.code) << c.told;
        EXPECT_NE(refused.err.find(c.told), std::string::npos) << refused.err;
        EXPECT_EQ(cards(db), before) << c.told;
        EXPECT_TRUE(leftovers().empty()) << c.told;
    }
    EXPECT_EQ(rowsOf(db, "select count(*) from t_OperLog where FFunctionID='RESTORE'"),
              std::vector<std::string>{"0"});
    EXPECT_EQ(rowsOf(changed, "select count(*) from t_OperLog where FFunctionID='RESTORE'"),
              std::vector<std::string>{"0"})
        << "a backup is only read";
}

TEST_F(BackupCommands, ARestoredBranchIsComparedWithHeadquarters)
{
    // Headquarters holds the same cards; a deduction there after the backup is not in it.
    const std::string hq = dir + "/hq.db";
    ASSERT_EQ(runCommand({"backup", db, hq}).code, 0);
    ASSERT_EQ(runCommand({"backup", db, backup}).code, 0);
    const auto agreed = runCommand({"restore", backup, db, "--user", "admin", "--hq", hq});
    EXPECT_EQ(agreed.code, 0) << agreed.err;
    EXPECT_NE(agreed.out.find("0 differ, 0 unexplained"), std::string::npos) << agreed.out;

    runBatch(hq, "update T_Pos_VipRecord set FResidualAmt='" +
                     ormex::platform::encodeBalance(std::string("30")) + "' where FCardId='C1'");
    const auto differs = runCommand({"restore", backup, db, "--user", "admin", "--hq", hq});
    EXPECT_EQ(differs.code, 3) << differs.err;
    EXPECT_NE(differs.out.find("C1"), std::string::npos) << differs.out;
    EXPECT_NE(differs.out.find("30.00"), std::string::npos) << differs.out;
    EXPECT_NE(differs.err.find("warning: restored, but"), std::string::npos) << differs.err;
    EXPECT_EQ(rowsOf(db, "select count(*) from t_OperLog where FFunctionID='RESTORE'"),
              std::vector<std::string>{"1"})
        << "restored all the same: the log of the first restore was in the database the second replaced";
}
