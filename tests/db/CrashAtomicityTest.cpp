// A process killed (SIGKILL) while it runs one large batch leaves the database holding all of the
// batch or nothing of it, and the file intact. Each trial forks a child that runs the batch on a
// fresh copy of a database; the parent kills it at a random moment of the batch's run.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "support/TestDatabase.h"

namespace fs = std::filesystem;
using ormex::db::Database;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr int kTrials = 20;
constexpr int kCards = 1000;
constexpr int kChanges = 10000; // an update and an insert each: 20,000 statements
constexpr long long kStartPoints = 100;

std::string cardId(int i)
{
    return "C" + std::to_string(10000 + i);
}

// Every card earns a point kChanges / kCards times, each point recorded as a movement.
std::string largeBatch()
{
    std::string batch;
    for (int i = 0; i < kChanges; ++i) {
        const std::string card = cardId(i % kCards);
        batch += "update T_Pos_VipRecord set FAccNum=FAccNum+1 where FCardId='" + card + "'\r\n";
        batch += "insert into T_Pos_VipGiftList (FCardId, flag, FVipNum) values ('" + card + "', '1', 1)\r\n";
    }
    return batch;
}

// Native SQLite: the first column of the first row as text.
std::string scalar(Database& db, const char* sql)
{
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db.handle(), sql, -1, &stmt, nullptr);
    std::string value = stmt && sqlite3_step(stmt) == SQLITE_ROW
                            ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0))
                            : "(no row)";
    sqlite3_finalize(stmt);
    return value;
}

// What the batch changes: points earned above the start, movements recorded.
struct Outcome
{
    long long points = 0;
    long long movements = 0;
};

Outcome outcome(Database& db)
{
    return {std::stoll(scalar(db, "select sum(FAccNum) from T_Pos_VipRecord")) - kStartPoints * kCards,
            std::stoll(scalar(db, "select count(*) from T_Pos_VipGiftList"))};
}

// The child: opens the copy, tells the parent it is about to run the batch, runs it.
[[noreturn]] void runBatch(const std::string& path, const std::string& batch, const std::string& marker)
{
    int status = 0;
    try {
        auto db = Database::open(path);
        FILE* started = std::fopen(marker.c_str(), "w");
        if (started) std::fclose(started);
        db->execute(batch);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "batch child: %s\n", error.what());
        status = 1;
    }
    _exit(status);
}

// Waits for the marker file; false when the child ended first.
bool waitForMarker(const std::string& marker, pid_t child)
{
    while (!fs::exists(marker)) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

} // namespace

TEST(CrashAtomicity, AKilledBatchLeavesAllOrNothingOfIt)
{
    ormex::test::TestDatabase t("template.db");
    std::string cards;
    for (int i = 0; i < kCards; ++i)
        cards += "insert into T_Pos_VipRecord (FCardId, FAccNum) values ('" + cardId(i) + "', " +
                 std::to_string(kStartPoints) + ");";
    t.exec("BEGIN;" + cards + "COMMIT; PRAGMA wal_checkpoint(TRUNCATE);");
    const std::string batch = largeBatch();
    const std::string copy = t.folder() + "/till.db";
    const auto freshCopy = [&] {
        for (const char* suffix : {"", "-wal", "-shm"})
            fs::remove(copy + suffix);
        fs::copy_file(t.path(), copy);
    };

    // One run to the end: what "all of it" is, and how long the batch runs here (the sanitizer
    // build runs it several times slower), for the moments the parent kills at.
    freshCopy();
    SteadyClock::duration runTime{};
    Outcome all;
    {
        auto db = Database::open(copy);
        const auto start = SteadyClock::now();
        db->execute(batch);
        runTime = SteadyClock::now() - start;
        all = outcome(*db);
    }
    ASSERT_EQ(all.points, kChanges);
    ASSERT_EQ(all.movements, kChanges);

    std::mt19937 random(20261123);
    std::uniform_int_distribution<long long> delay(
        0, std::chrono::duration_cast<std::chrono::microseconds>(runTime).count());
    int killedBeforeCommit = 0;
    for (int trial = 0; trial < kTrials; ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        freshCopy();
        const std::string marker = t.folder() + "/started-" + std::to_string(trial);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) runBatch(copy, batch, marker);

        const bool started = waitForMarker(marker, child);
        if (started) {
            std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
            kill(child, SIGKILL);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (!started) {
            ADD_FAILURE() << "the child ended before the batch started";
            continue;
        }
        EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
            << "the batch failed otherwise than by the kill";

        auto db = Database::open(copy);
        EXPECT_EQ(scalar(*db, "PRAGMA integrity_check"), "ok");
        const Outcome found = outcome(*db);
        const bool nothing = found.points == 0 && found.movements == 0;
        const bool everything = found.points == all.points && found.movements == all.movements;
        EXPECT_TRUE(nothing || everything)
            << "points " << found.points << ", movements " << found.movements << " of " << kChanges;
        if (nothing && WIFSIGNALED(status)) ++killedBeforeCommit;
    }
    // Kills that landed after the commit prove nothing about a half-run batch: most must not.
    EXPECT_GE(killedBeforeCommit, kTrials / 2);
}
