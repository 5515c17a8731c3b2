// Two branch processes, each on its own SQLite file, deduct points and replay every deduction on
// the same PostgreSQL headquarters at the same time. Every change reaches headquarters exactly
// once: no replay is lost, none is applied twice, and each branch's queue ends empty.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "host/core/HostRuntime.h"
#include "module/frame/Gateway.h"
#include "module/hq/HqLink.h"
#include "module/hq/ReplayOutbox.h"
#include "module/points/PointsStatements.h"
#include "platform/HostServices.h"
#include "store/PgSchema.h"
#include "support/PgTestDatabase.h"
#include "support/TestDatabase.h"
#include "support/TillServices.h"

using namespace ormex;
namespace hq = ormex::module::hq;

namespace {

constexpr int kChanges = 40;       // deductions per branch
constexpr int kCardsPerBranch = 4; // each branch's members; the cards of all branches are at headquarters

std::string card(const std::string& branchNum, int i)
{
    return "B" + branchNum + "-" + std::to_string(i);
}

// Waits for what the branch queued to reach headquarters, as an operator would before the next
// operation; false when it did not within a few seconds.
bool queueEmptied()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (hq::SendQueuedToHQ().waiting == 0) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

// One branch: deductions on its cards, each read at headquarters, written here with its replay
// queued in the same transaction, then sent. Exits 0 when everything reached headquarters.
[[noreturn]] void branch(const std::string& folder, const std::string& branchId, const std::string& branchNum)
{
    test::installTillServices();
    host::HostConfig config;
    config.dataFolder = folder;
    config.databaseFile = "branch.db";
    config.userId = 7;
    config.branchId = branchId;
    config.branchNum = branchNum;
    config.sealKey = db::sealKeyText(test::testSealKey());
    config.isBranch = true;
    config.svCardShareType = true;
    int status = 0;
    try {
        host::HostRuntime runtime(config);
        hq::ResetHQConnectionText();
        const module::points::PointsSession session{branchId, branchNum, "7"};
        for (int i = 0; i < kChanges && status == 0; ++i) {
            if (!queueEmptied()) {
                std::fprintf(stderr, "branch %s: the queue did not empty\n", branchNum.c_str());
                status = 1;
                break;
            }
            const std::string id = card(branchNum, i % kCardsPerBranch);
            const std::string accSql = "select FAccNum from T_Pos_VipRecord where FCardId='" + id + "'";
            const std::string decSql = "select FDecNum from T_Pos_VipRecord where FCardId='" + id + "'";
            const platform::Value accumulated = hq::HQGetFieldValue(accSql, "FAccNum");
            const platform::Value used = hq::HQGetFieldValue(decSql, "FDecNum");
            const std::string batch =
                module::points::DeductionGroup(session, 1, id, 1, accumulated.toDouble(), used.toDouble());
            module::frame::ExecuteSQL(
                batch + hq::QueueOnHQ(batch, hq::HQOperation::PointsDeduction,
                                      {{accSql, "FAccNum", accumulated}, {decSql, "FDecNum", used}}));
            hq::SendQueuedToHQ();
        }
        if (status == 0 && !queueEmptied()) status = 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "branch %s: %s\n", branchNum.c_str(), error.what());
        status = 1;
    }
    _exit(status);
}

std::string cardRows(const std::string& branchNum)
{
    std::string values;
    for (int i = 0; i < kCardsPerBranch; ++i)
        values += std::string(values.empty() ? "" : ",") + "('" + card(branchNum, i) + "','0',100000,0,1)";
    return values;
}

} // namespace

TEST(TwoBranchesReplay, TwoBranchProcessesReplayingToOnePostgresHeadquartersLoseNothing)
{
    if (test::pgClusterUrl().empty()) GTEST_SKIP() << "ORMEX_PG_CLUSTER is not set (run through ctest)";
    test::useTestSealKey(); // headquarters' cards are written by the system, sealed
    test::PgTestDatabase headquarters;
    db::applySchema(headquarters.db());
    const char* const kCardColumns =
        "insert into T_Pos_VipRecord (FCardId,FCardStatus,FAccNum,FDecNum,FAccFlag) values ";
    headquarters.db().execute("insert into t_SystemProfile values ('ic','g_branch_no','00')\r\n"
                              "insert into t_SystemProfile values ('ic','is_branch','0')\r\n" +
                              std::string(kCardColumns) + cardRows("01") + "\r\n" + kCardColumns +
                              cardRows("02"));

    const std::pair<std::string, std::string> branches[] = {{"2", "01"}, {"3", "02"}};
    std::vector<std::unique_ptr<test::TestDatabase>> files;
    for (const auto& [id, number] : branches) {
        auto file = std::make_unique<test::TestDatabase>("branch.db");
        file->exec("insert into t_SystemProfile values ('VIP','PosSavingServerDb','" +
                   headquarters.setting() + "'), ('ic','g_branch_no','" + number +
                   "'), ('ic','is_branch','1');" + kCardColumns + cardRows(number));
        files.push_back(std::move(file));
    }

    std::vector<pid_t> children;
    for (std::size_t b = 0; b < files.size(); ++b) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) branch(files[b]->folder(), branches[b].first, branches[b].second);
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
            << "a branch did not get everything across";
    }

    const auto at = [&](const std::string& sql) { return test::rowsOf(headquarters.db(), sql); };
    using Rows = std::vector<std::string>;
    EXPECT_EQ(at("select count(*) from t_HqReplay"), Rows{std::to_string(2 * kChanges)});
    EXPECT_EQ(at("select count(*) from t_Log"), Rows{std::to_string(2 * kChanges)});
    EXPECT_EQ(at("select FBranchNo, count(*), sum(FVipNum) from T_Pos_VipGiftList group by FBranchNo "
                 "order by FBranchNo"),
              (Rows{"01|40|40", "02|40|40"}));
    // Each card was deducted kChanges / kCardsPerBranch times, each time by one point.
    Rows totals;
    for (const auto& [id, number] : branches)
        for (int i = 0; i < kCardsPerBranch; ++i)
            totals.push_back(card(number, i) + "|" + number + "|" +
                             std::to_string(kChanges / kCardsPerBranch));
    EXPECT_EQ(at("select FCardId, FBranchno, FVipMinusTotalNum from T_Pos_VipConsume order by FCardId"),
              totals);
    for (auto& file : files)
        EXPECT_EQ(file->rows("select FSeq, FAttempts, FLastError from t_HqOutbox"), Rows{}) << file->folder();
}
