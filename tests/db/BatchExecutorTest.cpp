// How a batch runs: control flow, variables, statement boundaries, and the guarantees when a
// batch is refused or fails.
#include <gtest/gtest.h>

#include "sql/DbError.h"
#include "support/TestDatabase.h"

using ormex::db::ParseError;
using ormex::db::StatementError;
using ormex::test::TestDatabase;

namespace {

// Every batch below records what it did as rows of t_Log: FStatement is the step number.
class BatchExecutor : public ::testing::Test
{
protected:
    void SetUp() override
    {
        t.exec("insert into t_SystemProfile values ('ic','g_branch_no','01');"
               "insert into T_Pos_VipRecord (FCardId, FAccNum, FDecNum) values ('C1', 100, 40)");
    }
    std::vector<std::string> steps() { return t.rows("select FStatement from t_Log order by FID"); }

    TestDatabase t;
};

std::string step(int n)
{
    return "insert into t_Log (FStatement) select " + std::to_string(n);
}

} // namespace

TEST_F(BatchExecutor, ControlFlowTakesTheServersBranches)
{
    struct Case
    {
        std::string batch;
        std::vector<std::string> steps;
    };
    const std::string N = "\r\n";
    const Case cases[] = {
        {"if 1=1 " + step(1) + N + "else " + step(2) + N + step(3), {"1", "3"}},
        {"IF 1=2" + N + step(1) + N + "ELSE" + N + step(2), {"2"}},
        // ELSE belongs to the nearest IF.
        {"if 1=2 if 1=1 " + step(1) + " else " + step(2) + N + step(3), {"3"}},
        {"if 1=1 if 1=2 " + step(1) + " else " + step(2), {"2"}},
        {"if 1=2 " + step(1) + N + "else if 2=2 " + step(2) + N + "else " + step(3), {"2"}},
        // END and ELSE of a CASE do not close the block or the IF.
        {"if exists(select 1 from T_Pos_VipRecord where FCardId='c1')" + N + " begin " + N +
             " update T_Pos_VipRecord set FDecNum=case when 70>100 then 100 else 70 end where FCardId='C1'" +
             N + step(1) + N + " end " + N + " Else " + N + step(2),
         {"1"}},
        {"If Not Exists(select 1 from T_Pos_VipRecord where FCardId='C9')" + N + " begin " + N + " begin " +
             step(1) + " end " + N + step(2) + N + " end " + N + " else " + step(3),
         {"1", "2"}},
        // A scalar subquery that finds no row is null: the comparison is unknown, the OR decides.
        {"declare @v int" + N + "If (select FValue from t_SystemProfile where FKey='nothing')='01' or @v=1 " +
             step(1) + N + "else " + step(2),
         {"2"}},
        {"declare @v int" + N + "set @v=1" + N +
             "If (select FValue from t_SystemProfile where FKey='nothing')='01' or @v=1 " + step(1),
         {"1"}},
        {"If (select FValue from t_SystemProfile where lower(FCategory)='ic' and FKey='G_BRANCH_NO')='01' or "
         "1=0 " +
             step(1),
         {"1"}},
        // Variable names ignore case; a variable holds the value of a query.
        {"declare @Left int, @Flag varchar(10)" + N +
             "set @left=(select FAccNum-FDecNum from T_Pos_VipRecord where FCardId='C1')" + N +
             "SET @FLAG='y'" + N + "if @LEFT=30 and @flag='y' " + step(1) + N +
             "insert into t_Log (FStatement) select @left",
         {"1", "30"}},
        {"declare @x int" + N + "if @x is null " + step(1) + N + "set @x = isnull(@x,0)+5" + N + "if @x=5 " +
             step(2),
         {"1", "2"}},
        // UPDATE owns its SET; INSERT owns its SELECT; a lone SELECT runs and gives nothing back.
        {"declare @n int update t_SystemProfile set FValue='02' where FKey='g_branch_no' set @n=2 "
         "insert into t_Log (FStatement) select @n select 1 insert t_Log (FStatement) values (3)",
         {"2", "3"}},
        {N + N + "   " + step(1) + "   " + N + N + "  " + N + step(2) + N, {"1", "2"}},
    };
    for (const auto& c : cases) {
        t.exec("delete from t_Log");
        t.db().execute(c.batch);
        EXPECT_EQ(steps(), c.steps) << c.batch;
    }
    EXPECT_EQ(t.scalar("select FDecNum from T_Pos_VipRecord").toInt(), 70);
}

TEST_F(BatchExecutor, VariablesLiveForOneBatch)
{
    t.db().execute("declare @a int\r\nset @a=1\r\ninsert into t_Log (FStatement) select @a");
    // The same name in the next batch is a new variable, without the old value.
    t.db().execute("declare @A int\r\ninsert into t_Log (FStatement) select isnull(@a, 9)");
    EXPECT_EQ(steps(), (std::vector<std::string>{"1", "9"}));
}

TEST_F(BatchExecutor, TextOutsideTheDialectRunsNothingAndNamesItsLine)
{
    struct Case
    {
        std::string batch;
        int line;
        const char* words;
    };
    const std::string first = step(1) + "\r\n";
    const Case cases[] = {
        {first + "while 1=1 " + step(2), 2, "not understood: 'while'"},
        {first + "\r\nexec sp_who", 3, "not understood: 'exec'"},
        {first + "GO", 2, "not understood: 'GO'"},
        {first + "create table X (a int)", 2, "not understood: 'create'"},
        {first + "update T_Pos_VipRecord set FAccNum=dbo.f_encrypt(FAccNum)", 2,
         "unknown function 'f_encrypt'"},
        {first + "update T_Pos_VipRecord set FAccNum=(1+2", 2, "missing ')'"},
        {first + "update T_Pos_VipRecord set FAccNum=1+2)", 2, "unexpected ')'"},
        {first + "update T_Pos_VipRecord set FAccNum=1 bogus words", 2, "not understood"},
        {first + "if 1=1\r\n begin " + step(2), 3, "BEGIN without END"},
        {first + "else " + step(2), 2, "ELSE without IF"},
        {first + " end", 2, "END without BEGIN"},
        {first + "set @x=1", 2, "must declare the variable @x"},
        {first + "insert into t_Log (FStatement) select @later\r\ndeclare @later int", 2,
         "must declare the variable @later"},
        {"declare @blnIsinset1 int\r\n" + first + "declare @BLNISINSET1 int", 3, "already been declared"},
        {first + "select convert(varchar(10),getdate(),101)", 2, "convert style 101"},
        {first + "update T_Pos_VipRecord set FVipName='a'+FVipName", 2, "joined with '+'"},
        {first + "update T_Pos_VipRecord set FVipName='it''s\r\n", 2, "unterminated string"},
        {first + "begin tran", 2, "transactions"},
        {first + "if 1=1\r\n", 3, "IF needs a statement"},
        {first + "select top 1 * from t_Log", 2, "'top' is not supported"},
    };
    const auto before = t.dump();
    for (const auto& c : cases) {
        try {
            t.db().execute(c.batch);
            ADD_FAILURE() << "accepted: " << c.batch;
        } catch (const ParseError& error) {
            EXPECT_EQ(error.line(), c.line) << c.batch;
            EXPECT_NE(error.message().find(c.words), std::string::npos) << error.what();
            EXPECT_EQ(std::string(error.what()).rfind("line " + std::to_string(c.line) + ": ", 0), 0u)
                << error.what();
        }
        EXPECT_EQ(t.dump(), before) << c.batch;
    }
}

TEST_F(BatchExecutor, AFailingStatementTakesTheWholeBatchBack)
{
    const auto before = t.dump();
    struct Case
    {
        std::string batch;
        int line;
        const char* statement;
        const char* reason;
    };
    const Case cases[] = {
        {step(1) + "\r\nif 1=1\r\n begin\r\n  update T_Pos_VipRecord set FAccNum=0\r\n  insert into  "
                   "T_Pos_VipRecord (FCardId)\r\n"
                   "  select 'c1'\r\n end",
         5, "insert into  T_Pos_VipRecord (FCardId)\r\n  select 'c1'", "UNIQUE"},
        {step(1) + "\r\n\r\nif datediff(day,getdate(),'not a date')>0 " + step(2), 3,
         "if datediff(day,getdate(),'not a date')>0", "not a date"},
        {"update T_Pos_VipRecord set FNoSuchColumn=1", 1, "update T_Pos_VipRecord set FNoSuchColumn=1",
         "no such column"},
    };
    for (const auto& c : cases) {
        try {
            t.db().execute(c.batch);
            ADD_FAILURE() << "accepted: " << c.batch;
        } catch (const StatementError& error) {
            EXPECT_EQ(error.line(), c.line) << c.batch;
            EXPECT_EQ(error.statement(), c.statement);
            EXPECT_NE(error.reason().find(c.reason), std::string::npos) << error.what();
        }
        EXPECT_EQ(t.dump(), before) << c.batch;
    }
}

TEST_F(BatchExecutor, ALongBatchIsCheckedWholeBeforeItRuns)
{
    // Far more statements than are kept compiled between the check and the run.
    std::string batch;
    for (int i = 1; i <= 1500; ++i)
        batch += "if " + std::to_string(i) + "%2=0 " + step(i) + "\r\n";
    const auto before = t.dump();
    try {
        t.db().execute(batch + "update t_Log set FStatement=1 FStatement=2");
        ADD_FAILURE() << "a statement SQLite cannot read was run";
    } catch (const ParseError& error) {
        EXPECT_EQ(error.line(), 1501);
    }
    EXPECT_EQ(t.dump(), before);

    t.db().execute(batch);
    EXPECT_EQ(t.rows("select count(*), min(FStatement), max(FStatement) from t_Log"),
              std::vector<std::string>{"750|2|1500"});
}

TEST_F(BatchExecutor, AConditionOnATableTheBatchWritesIsAskedAgainEachTime)
{
    // t_Log is written by the batch: each test sees the rows added before it.
    t.db().execute("if (select count(*) from t_Log)=0 " + step(1) + "\r\nif (select count(*) from t_Log)=0 " +
                   step(2) + "\r\nif (select count(*) from t_Log)=1 " + step(3));
    EXPECT_EQ(steps(), (std::vector<std::string>{"1", "3"}));

    // t_SystemProfile is not written: the same question with other arguments gets its own answer.
    t.db().execute(
        "declare @v int\r\nset @v=0\r\n"
        "if (select FValue from t_SystemProfile where FKey='g_branch_no')='01' or @v=1 " +
        step(4) + "\r\nif (select FValue from t_SystemProfile where FKey='g_branch_no')='02' or @v=1 " +
        step(5) + "\r\nset @v=1\r\n" +
        "if (select FValue from t_SystemProfile where FKey='g_branch_no')='02' or @v=1 " + step(6) +
        "\r\nset @v=1.5\r\n" +
        "if (select FValue from t_SystemProfile where FKey='g_branch_no')='02' or @v=1 " + step(7));
    EXPECT_EQ(steps(), (std::vector<std::string>{"1", "3", "4", "6"}));
}
