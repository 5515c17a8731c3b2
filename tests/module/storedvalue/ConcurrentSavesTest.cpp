// Eight processes save recharges and points deductions on the same ten cards through the host's
// business objects over one database file. Every save reads a card and writes a value computed
// from it; a save whose card changed in between is refused whole. Afterwards every card's balance
// and points agree with the rows that record them: no change was lost.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "host/core/HostRuntime.h"
#include "module/frame/Gateway.h"
#include "module/points/PointsStatements.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/NumberText.h"
#include "support/TestDatabase.h"
#include "support/TillServices.h"

using namespace ormex;
namespace points = ormex::module::points;

namespace {

constexpr int kProcesses = 8;
constexpr int kSaves = 200;
constexpr int kCards = 10;

std::string card(int i)
{
    return "K" + std::to_string(i);
}

// One till: recharges and deductions on random cards. Exits 0 when every save either ran whole or
// was refused as changed since read; 1 on any other failure.
[[noreturn]] void till(const std::string& folder, int seed)
{
    test::installTillServices();
    host::HostConfig config;
    config.dataFolder = folder;
    config.databaseFile = "branch.db";
    config.branchId = "2";
    config.branchNum = "01";
    config.sealKey = db::sealKeyText(test::testSealKey());
    int status = 0;
    try {
        host::HostRuntime runtime(config);
        std::mt19937 random(static_cast<unsigned>(seed));
        const points::PointsSession pointsSession{"2", "01", "7"};
        const module::storedvalue::StoredValueSession valueSession{"7", "2", "01"};
        for (int i = 0; i < kSaves; ++i) {
            const std::string id = card(static_cast<int>(random() % kCards));
            try {
                if (random() % 2 == 0) {
                    const std::string read =
                        "select FResidualAmt from T_Pos_VipRecord where FCardId='" + id + "'";
                    const platform::Value stored = module::frame::GetFieldValue(read, "FResidualAmt");
                    const platform::Money balance =
                        platform::tryDecodeMoney(stored.toString()).value_or(platform::Money());
                    const platform::Money amount = platform::Money::fromUnits(
                        static_cast<std::int64_t>(random() % 5000) * 100 + platform::Money::kUnitsPerYuan);
                    module::frame::ExecuteSQL(
                        module::storedvalue::RechargeStatements(
                            valueSession, {id, amount, amount, balance, balance + amount, balance + amount,
                                           "", "now", "1"}),
                        {{read, "FResidualAmt", stored}});
                } else {
                    const std::string accSql =
                        "select FAccNum from T_Pos_VipRecord where FCardId='" + id + "'";
                    const std::string decSql =
                        "select FDecNum from T_Pos_VipRecord where FCardId='" + id + "'";
                    const platform::Value accumulated = module::frame::GetFieldValue(accSql, "FAccNum");
                    const platform::Value used = module::frame::GetFieldValue(decSql, "FDecNum");
                    module::frame::ExecuteSQL(points::DeductionGroup(pointsSession, 1, id, 1,
                                                                     accumulated.toDouble(), used.toDouble()),
                                              {{accSql, "FAccNum", accumulated}, {decSql, "FDecNum", used}});
                }
            } catch (const platform::ChangedSinceReadError&) {
                // Refused whole: the operator would read the card again.
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "till %d: %s\n", seed, error.what());
        status = 1;
    }
    _exit(status);
}

} // namespace

TEST(ConcurrentSaves, EightTillsOnTenCardsLoseNothing)
{
    test::TestDatabase db("branch.db");
    db.exec("insert into t_SystemProfile values ('ic','g_branch_no','01'), ('ic','is_branch','1')");
    for (int i = 0; i < kCards; ++i)
        db.exec("insert into T_Pos_VipRecord (FCardId,FCardStatus,FAccNum,FDecNum,FSavingFlag,FResidualAmt) "
                "values ('" +
                card(i) + "','0',100000,0,1,'" + platform::encodeBalance(std::string("100")) + "')");
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) till(db.folder(), p + 1);
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
            << "a till failed otherwise than by a refusal";
    }
    const int recharges = static_cast<int>(db.scalar("select count(*) from T_Pos_AddMoneyList").toInt());
    const int deductions = static_cast<int>(db.scalar("select count(*) from T_Pos_VipGiftList").toInt());
    EXPECT_GT(recharges + deductions, kProcesses * kSaves / 4) << "most saves go through";
    EXPECT_LT(recharges + deductions, kProcesses * kSaves) << "some saves met a change and were refused";
    for (int i = 0; i < kCards; ++i) {
        const std::string id = card(i);
        const double sum =
            db.scalar("select isnull(sum(FPlusAmt),0) from T_Pos_AddMoneyList where FCardId='" + id + "'")
                .toDouble();
        const double balance = db.decodedBalance(id).toDouble();
        EXPECT_EQ(platform::formatNumber(balance), platform::formatNumber(100 + sum)) << id;
        const double used =
            db.scalar("select FDecNum from T_Pos_VipRecord where FCardId='" + id + "'").toDouble();
        const double deducted =
            db.scalar("select isnull(sum(FVipNum),0) from T_Pos_VipGiftList where FCardId='" + id + "'")
                .toDouble();
        EXPECT_EQ(used, deducted) << id;
    }
}
