// The grid's rows as its model keeps them: cells written in any order and of any length read back
// as written, marks move with their rows, and the view's own edits (a ticked box) are the
// operator's while code writes are not.
#include <gtest/gtest.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include "module/frame/GridLayout.h"
#include "module/frame/GridModel.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::frame;

namespace {

const GridLayout kCards{4,
                        "",
                        {{"选择", "Sel", 10, 0, 1, 600, 0},
                         {"卡号", "FCardId", 1, 1, 1, 1200, 0},
                         {"备注", "FMemo", 1, 0, 1, 2000, 0},
                         {"积分", "FVipNum", 13, 0, 1, 1000, 0}}};

} // namespace

TEST(GridModel, CellsReadBackAsWrittenInAnyOrderAndLength)
{
    Grid grid;
    ApplyLayout(grid, kCards);
    grid.setRows(3);
    const int card = grid.columnOf("FCardId");
    const int memo = grid.columnOf("FMemo");
    const int points = grid.columnOf("FVipNum");
    const QString longText = QString(300, QChar(u'长')); // past the one-byte length

    // The last column first: the cells before it exist and are empty.
    grid.setCellText(0, points, "5");
    EXPECT_EQ(grid.cellText(0, card), "");
    EXPECT_EQ(grid.cellText(0, points), "5.00");
    grid.setCellText(0, memo, longText);
    grid.setCellText(0, card, "C1");
    EXPECT_EQ(grid.cellText(0, memo), longText);
    EXPECT_EQ(grid.cellText(0, points), "5.00") << "the cells after a grown one stay";
    grid.setCellText(0, memo, "短");
    EXPECT_EQ(grid.cellText(0, memo), "短");
    EXPECT_EQ(grid.cellText(0, card), "C1");
    EXPECT_EQ(grid.cellText(0, points), "5.00") << "the cells after a shrunk one stay";
    grid.setCellText(0, card, "");
    EXPECT_EQ(grid.cellText(0, card), "");
    EXPECT_EQ(grid.cellText(0, memo), "短");
    EXPECT_EQ(grid.cellText(1, memo), "") << "other rows are untouched";

    // The view reads the same cells, the row numbers and the ticks without their text.
    QAbstractItemModel& model = *grid.model();
    EXPECT_EQ(model.data(model.index(0, memo)).toString(), "短");
    EXPECT_EQ(model.data(model.index(2, 0)).toString(), "3");
    grid.setChecked(1, grid.columnOf("Sel"), true);
    EXPECT_EQ(model.data(model.index(1, grid.columnOf("Sel")), Qt::CheckStateRole).value<Qt::CheckState>(),
              Qt::Checked);
    EXPECT_EQ(grid.cellText(1, grid.columnOf("Sel")), "1");
    EXPECT_EQ(grid.cellText(2, grid.columnOf("Sel")), "0");
}

TEST(GridModel, ColoursAndLocksMoveWithTheirRows)
{
    Grid grid;
    ApplyLayout(grid, kCards);
    grid.setRows(4);
    const int memo = grid.columnOf("FMemo");
    for (int r = 0; r < 4; ++r)
        grid.setCellText(r, grid.columnOf("FCardId"), QStringLiteral("C%1").arg(r));
    grid.setCellColor(2, memo, Qt::red);
    grid.setCellLocked(3, memo, true);

    grid.removeRow(0);
    ASSERT_EQ(grid.rowCount(), 3);
    EXPECT_EQ(grid.cellText(1, grid.columnOf("FCardId")), "C2");
    EXPECT_EQ(grid.cellColor(1, memo), QColor(Qt::red));
    EXPECT_EQ(grid.cellColor(0, memo), QColor(Qt::black));
    EXPECT_TRUE(grid.isCellLocked(2, memo));
    EXPECT_FALSE(grid.isCellLocked(1, memo));
    EXPECT_EQ(grid.cellText(2, 0), "3") << "the row numbers follow";

    grid.setRowCount(0);
    grid.setRows(3);
    EXPECT_EQ(grid.cellText(1, grid.columnOf("FCardId")), "") << "new rows start empty";
    EXPECT_EQ(grid.cellColor(1, memo), QColor(Qt::black));
    EXPECT_FALSE(grid.isCellLocked(2, memo));
}

TEST(GridModel, ATickAndAClickAreTheOperatorsAndMoveTheActiveCell)
{
    test::TestHost host;
    Grid grid;
    ApplyLayout(grid, kCards);
    grid.setRows(2);
    grid.resize(600, 200);
    grid.show();
    QApplication::setActiveWindow(&grid);
    QSignalSpy edits(&grid, &Grid::operatorEdited);
    QSignalSpy moves(&grid, &Grid::currentCellChanged);
    QSignalSpy clicks(&grid, &Grid::cellClicked);
    const int tick = grid.columnOf("Sel");

    grid.setChecked(0, tick, true);
    grid.setCellText(0, grid.columnOf("FMemo"), "code");
    QApplication::processEvents();
    EXPECT_EQ(edits.count(), 0) << "code writes are not edits";

    const int before = grid.currentRow();
    grid.setActiveCell(1, tick);
    ASSERT_EQ(moves.count(), 1);
    EXPECT_EQ(moves.at(0).at(0).toInt(), 1);
    EXPECT_EQ(moves.at(0).at(1).toInt(), tick);
    EXPECT_EQ(moves.at(0).at(2).toInt(), before) << "the cell that was active";

    QTest::keyClick(&grid, Qt::Key_Space);
    EXPECT_TRUE(grid.isChecked(1, tick)) << "the space bar ticks the active box";
    ASSERT_EQ(edits.count(), 1);
    EXPECT_EQ(edits.at(0).at(0).toInt(), 1);

    const QRect cell = grid.visualRect(grid.model()->index(0, grid.columnOf("FMemo")));
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell.center());
    ASSERT_EQ(clicks.count(), 1);
    EXPECT_EQ(clicks.at(0).at(0).toInt(), 0);
    EXPECT_EQ(grid.currentRow(), 0);
    EXPECT_EQ(grid.currentColumn(), grid.columnOf("FMemo"));

    // A locked box does not tick.
    grid.setCellLocked(1, tick, true);
    grid.setActiveCell(1, tick);
    QTest::keyClick(&grid, Qt::Key_Space);
    EXPECT_TRUE(grid.isChecked(1, tick));
    EXPECT_EQ(edits.count(), 1);
}
