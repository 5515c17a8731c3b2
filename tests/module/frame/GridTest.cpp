#include <gtest/gtest.h>

#include "module/frame/GridHelpers.h"

using namespace ormex;
using namespace ormex::module::frame;

namespace {

void approvalLayout(Grid& grid)
{
    SetupGridColumns(grid, "A,行号,会员卡号,姓名,会费,入会日期,折扣率,流水号",
                     "chk,index,FCardId,FVipName,FVipTax,FOperDate,FRate,FFlowId", "3,5,10,10,10,10,10,10",
                     "10,13,1,1,13,0,13,13", "0,0,0,0,0,0,0,1", "0,0,0,0,0,0,0,0");
}

} // namespace

TEST(GridHelpers, ColumnsFromSixLists)
{
    Grid grid;
    approvalLayout(grid);
    EXPECT_EQ(grid.columns(), 8);
    EXPECT_EQ(grid.rowCount(), 0);
    EXPECT_EQ(grid.horizontalHeaderItem(2)->text(), "会员卡号");
    EXPECT_EQ(grid.columnOf("fcardid"), 2);
    EXPECT_TRUE(grid.isColumnHidden(7));
    EXPECT_EQ(grid.column(4).decimals, 0);
    EXPECT_EQ(grid.column(6).decimals, 2) << "a rate shows two decimals";
    EXPECT_DOUBLE_EQ(grid.column(6).maximum, 100.0);
}

TEST(GridHelpers, FillMarksEveryChangedValueRed)
{
    Grid grid;
    approvalLayout(grid);
    const platform::RecordList pending = {
        {{"FCardId", "C1"},
         {"FVipName", "张伟 "},
         {"FVipTax", 100.0},
         {"FOperDate", "2026-01-02 00:00:00"},
         {"FFlowId", 11}},
        {{"FCardId", "C2"},
         {"FVipName", "李娜娜"},
         {"FVipTax", 50},
         {"FOperDate", "2026-03-04"},
         {"FFlowId", 12}},
    };
    const platform::RecordList current = {
        {{"FCardId", "C1"}, {"FVipName", "张伟"}, {"FVipTax", 100}, {"FOperDate", "2026-01-02 00:00:00"}},
        {{"FCardId", "C2"}, {"FVipName", "李娜"}, {"FVipTax", 60}},
    };
    FillGrid(grid, pending, &current);
    ASSERT_EQ(grid.rowCount(), 2);
    EXPECT_EQ(grid.cellText(1, "index"), "2");
    EXPECT_EQ(grid.cellText(0, "FOperDate"), "2026-01-02");
    EXPECT_EQ(grid.cellText(1, "FFlowId"), "12");
    const QColor red(255, 0, 0);
    EXPECT_NE(grid.cellColor(0, grid.columnOf("FVipName")), red) << "trailing blanks are not a change";
    EXPECT_NE(grid.cellColor(0, grid.columnOf("FVipTax")), red);
    EXPECT_EQ(grid.cellColor(1, grid.columnOf("FVipName")), red);
    EXPECT_EQ(grid.cellColor(1, grid.columnOf("FVipTax")), red);
    EXPECT_NE(grid.cellColor(1, grid.columnOf("FOperDate")), red)
        << "a field missing from the current record is not compared";
}

TEST(GridHelpers, TickedRowsCarryEveryColumnButTheCheckBox)
{
    Grid grid;
    approvalLayout(grid);
    FillGrid(
        grid,
        {{{"FCardId", "C1"}, {"FFlowId", 11}}, {{"FCardId", "C2"}, {"FFlowId", 12}}, {{"FCardId", "C3"}}});
    grid.setChecked(1, 0, true);
    grid.setChecked(2, 0, true);
    const auto rows = TickedRows(grid);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].text("FCardId"), "C2");
    EXPECT_EQ(rows[0].text("FFlowId"), "12");
    EXPECT_EQ(rows[0].text("index"), "2");
    EXPECT_FALSE(rows[0].contains("chk"));
    EXPECT_EQ(rows[0].size(), 7u);
}

TEST(GridHelpers, SavePackageTakesMarkedColumnsAndEndsWithTheHeader)
{
    Grid grid;
    grid.setColumns({{"数量", "FItemNum", CellType::Number, false, false, true},
                     {"品名", "FName", CellType::Text, true, false, false},
                     {"会员类别ID", "FCardType", CellType::Text, false, true, true}});
    grid.setRows(1);
    grid.setCellText(0, 0, "2");
    grid.setCellText(0, 1, "保温杯");
    const auto gifts = BuildSavePackage(grid, 1, 1);
    ASSERT_EQ(gifts.size(), 2u);
    EXPECT_EQ(gifts[0].size(), 2u);
    EXPECT_DOUBLE_EQ(gifts[0].value("FItemNum").toDouble(), 2.0);
    EXPECT_EQ(gifts[1].text("Table"), "T_Pos_VipGift");
    EXPECT_EQ(gifts[1].value("PKColCount").toInt(), 3);
    EXPECT_EQ(gifts[1].text("PKCOL3"), "FBranchID");
    EXPECT_TRUE(BuildSavePackage(grid, 2, 1).back().empty());
}
