#include <gtest/gtest.h>

#include "module/cards/ApprovalCondition.h"

using namespace ormex::module::cards;

TEST(ApprovalCondition, ListEntriesArePaddedInDoubleByteColumns)
{
    const auto& ops = approvalOperatorEntries();
    ASSERT_EQ(ops.size(), 7u);
    EXPECT_EQ(ops[0], "");
    EXPECT_EQ(ops[1], "等于                              |=");
    EXPECT_EQ(ops[4], "大于等于                          |>=");
    EXPECT_EQ(ops[6], "不等于                            |<>");
    const auto& statuses = approvalStatusEntries();
    ASSERT_EQ(statuses.size(), 6u);
    EXPECT_EQ(statuses[0], "正常                               |0");
    EXPECT_EQ(statuses[4], "黑名单                             |4");
    EXPECT_EQ(statuses[5], "未使用                             |9");
}

TEST(ApprovalCondition, BuildsInFieldOrder)
{
    struct Case
    {
        ApprovalConditionInput input;
        std::string expected;
    };
    const Case cases[] = {
        {{}, ""},
        {{.operatorEntry = approvalOperatorEntries()[1], .date = "2026-11-23"},
         " and FModifyDate ='2026-11-23'"},
        {{.statusEntry = approvalStatusEntries()[4]}, " and FCardStatus ='4'"},
        {{.name = "O'Neil"}, " and FVipName ='O''Neil'"},
        {{.cardId = " 123", .name = "  ", .date = "2026-11-23", .branchNo = "01", .mobile = "139"},
         " and FCardId =' 123' and FBranchno ='01' and mobile ='139'"},
        {{.cardId = "A",
          .name = "B",
          .operatorEntry = approvalOperatorEntries()[6],
          .date = "2026-01-02",
          .statusEntry = approvalStatusEntries()[0],
          .branchNo = "C",
          .mobile = "D"},
         " and FCardId ='A' and FVipName ='B' and FModifyDate <>'2026-01-02' and FCardStatus ='0' and "
         "FBranchno ='C'"
         " and mobile ='D'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(buildApprovalCondition(c.input), c.expected);
}
