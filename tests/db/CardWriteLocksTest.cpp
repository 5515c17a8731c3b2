// What a batch locks at a headquarters many branches write: the cards it names, the shared tables
// it changes, or the whole database when it changes card rows it does not name.
#include <gtest/gtest.h>

#include <algorithm>

#include "sql/PgDialect.h"
#include "sql/TsqlParser.h"
#include "store/CardWriteLocks.h"

using namespace ormex::db;

namespace {

void sortUnique(std::vector<std::string>& values)
{
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

WriteLocks locksOf(const std::string& batch, const std::vector<ormex::platform::ReadCheck>& checks = {})
{
    WriteLocks locks = cardWriteLocks(parseBatch(batch, PgDialect::instance()), checks);
    sortUnique(locks.keys);
    sortUnique(locks.rows.values);
    return locks;
}

} // namespace

TEST(CardWriteLocks, ABatchLocksWhatItChanges)
{
    struct Case
    {
        const char* batch;
        bool whole;
        std::vector<std::string> cards; // card rows locked
        std::vector<std::string> keys;  // other things locked by name
    };
    const Case cases[] = {
        // A deduction as the points screen writes it: its card, whatever case and blanks it is
        // written with; appending the movement needs nothing of its own.
        {"insert into T_Pos_VipGiftList (FCardId, FVipNum) select 'C1', 10\r\n"
         "declare @blnIsinset1 int\r\n set @blnIsinset1=1\r\n"
         "If Not Exists(select 1 from T_Pos_VipConsume where FCardId='c1 ' and FBranchID=2)\r\n begin\r\n"
         " insert into T_Pos_VipConsume (FCardId, Fbranchid, FVipMinusTotalNum) select 'C1', 2, 10\r\n"
         " set @blnIsinset1=0\r\n end\r\n Else\r\n"
         " update T_Pos_VipConsume set FVipMinusTotalNum=FVipMinusTotalNum+10 where FCardId='C1' and "
         "FBranchID=2\r\n"
         "If (select FValue from t_SystemProfile where FKey='g_branch_no')='01' or @blnIsinset1=1\r\n"
         " update T_Pos_VipRecord set FDecNum=FDecNum+10 where FCardId='C1'",
         false,
         {"C1", "c1"},
         {}},
        // The head of a card's ledger that a replay records for its branch goes with the card.
        {"if exists (select 1 from t_BranchLedgerHead where FBranchNo='01' and FCardId='C1')\r\n"
         " update t_BranchLedgerHead set FSeq=2 where FBranchNo='01' and FCardId='C1' and FSeq<2\r\n"
         "else\r\n insert into t_BranchLedgerHead (FBranchNo,FCardId,FSeq,FHash) values ('01','C1',2,'h')",
         false,
         {"C1"},
         {}},
        {"update T_Pos_VipRecord set FCardStatus='2' where FCardId in ('A''1', 'B2')\r\n"
         "insert into t_Log (FDescription) values ('x')",
         false,
         {"A'1", "B2"},
         {}},
        // The catalogue and the settings are shared by every card.
        {"Delete from T_Pos_VipGift\r\nInsert Into T_Pos_VipGift (FItemId, FBranchID) Values ('101', '2')",
         false,
         {},
         {"table:t_pos_vipgift"}},
        {"UPDATE t_systemprofile SET FValue = '1' WHERE (FCategory = 'VIP') AND (FKey = 'MCType')",
         false,
         {},
         {"table:t_systemprofile"}},
        // Card rows chosen otherwise than by number, and new cards, could be any card.
        {"update T_Pos_VipRecord set FAccNum=0 where FCardType='01'", true, {}, {}},
        {"insert into T_Pos_VipRecord (FCardId) values ('N1')", true, {}, {}},
        {"insert into T_Pos_VipConsume (FCardId, Fbranchid) select 'C1', 2", true, {}, {}},
        // Appending alone waits for nobody but a write of the whole database.
        {"insert into T_Pos_AddMoneyList (FCardId, FPlusAmt) select 'C1', 5", false, {}, {}},
    };
    for (const Case& c : cases) {
        const WriteLocks locks = locksOf(c.batch);
        EXPECT_EQ(locks.whole, c.whole) << c.batch;
        EXPECT_EQ(locks.rows.values, c.cards) << c.batch;
        EXPECT_EQ(locks.keys, c.keys) << c.batch;
    }
    // The cards a checked write's reads name are locked with it.
    EXPECT_EQ(locksOf("update T_Pos_VipRecord set FResidualAmt='x' where FCardId='S1'",
                      {{"select FResidualAmt from T_Pos_VipRecord where FCardId='S2'", "FResidualAmt", {}}})
                  .rows.values,
              (std::vector<std::string>{"S1", "S2"}));
}
