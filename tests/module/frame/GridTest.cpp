// The grid of the screens: built from a layout record, filled, edited by an operator or by code,
// and read back as a save package.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTest>

#include "host/ui/NameList.h"
#include "module/frame/GridCellEditor.h"
#include "module/frame/GridHelpers.h"
#include "module/frame/GridLayout.h"
#include "module/frame/NameListLookup.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::frame;

namespace {

// A layout of every kind of column: a hidden saved number, a span, a list, a locked date.
const GridLayout kLayout{7,
                         "",
                         {
                             {"卡号", "FCardId", 1, 1, 1, 1500, 1},
                             {"数量", "FItemNum", 3, 0, 1, 500, 1},
                             {"对应积分", "FVipNum", 13, 0, 1, 1000, 1},
                             {"", "FVipPlus", 13, 0, 1, 0, 0},
                             {"付款方式", "FBalanceStyle", 8, 0, 1, 1200, 1},
                             {"有效期至", "FEndDate", 0, 1, 1, 1200, 0},
                             {"剩余积分", "cur_num", 13, 1, 0, 1200, 1},
                         }};

// A grid with the approval screen's look: a check box first, no row-number column.
const GridLayout kTicked{
    4,
    "",
    {{"A", "chk", 10, 0, 1, 540, 0},
     {"行号", "index", 13, 0, 1, 780, 0, ColumnDescriptor::NumberFormat{0, 0, 99999999}},
     {"会员卡号", "FCardId", 1, 0, 1, 1380, 0},
     {"流水号", "FFlowId", 13, 0, 0, 1380, 0, ColumnDescriptor::NumberFormat{0, 0, 99999999}}}};

} // namespace

TEST(GridLayout, AppliesEveryDescriptorValue)
{
    Grid grid;
    grid.setRows(3);
    const FieldColumnMap map = ApplyLayout(grid, kLayout);
    EXPECT_EQ(grid.columns(), 8) << "the row-number column and the seven of the layout";
    EXPECT_EQ(grid.model()->headerData(0, Qt::Horizontal).toString(), "序号");
    EXPECT_EQ(grid.rowCount(), 0) << "the layout resets the rows";
    EXPECT_EQ(map.size(), 7u);
    EXPECT_EQ(map.column("fcardid"), 1);
    EXPECT_EQ(map.column("cur_num"), 7) << "a hidden column is in the map";
    EXPECT_TRUE(grid.isColumnHidden(7));
    EXPECT_EQ(map.column("nothing"), -1);

    EXPECT_TRUE(grid.column(1).save);
    EXPECT_FALSE(grid.column(4).save);
    EXPECT_EQ(grid.column(2).decimals, 0) << "FItemNum counts units";
    EXPECT_EQ(grid.column(3).decimals, 2);
    EXPECT_DOUBLE_EQ(grid.column(3).minimum, 0);
    EXPECT_TRUE(grid.column(4).spansPrevious) << "no caption: the header before spans it";
    EXPECT_FALSE(grid.column(3).spansPrevious);
    EXPECT_EQ(grid.column(5).type, CellType::List);
    EXPECT_TRUE(grid.column(5).items.isEmpty());
    EXPECT_EQ(grid.columnWidth(1), 100) << "1500 twips";

    grid.setRows(2);
    EXPECT_EQ(grid.rowHeight(0), 19) << "285 twips";
    EXPECT_EQ(grid.cellText(1, 0), "2") << "the grid numbers its rows";
    EXPECT_TRUE(grid.isCellLocked(0, 1));
    EXPECT_TRUE(grid.isCellLocked(0, 6));
    EXPECT_FALSE(grid.isCellLocked(0, 3));
    grid.setCell(0, "FVipNum", "12.345");
    EXPECT_EQ(grid.cellStd(0, "FVipNum"), "12.35");
    grid.setCell(0, "FItemNum", "3");
    EXPECT_EQ(grid.cellStd(0, "FItemNum"), "3");

    // A layout that keeps its rows (the gift catalogue's) leaves them in place.
    ApplyLayout(grid, kLayout, {.resetRows = false});
    EXPECT_EQ(grid.rowCount(), 2);
    EXPECT_EQ(grid.cellStd(0, "FVipNum"), "12.35");
}

TEST(GridLayout, ColumnsAndCellsLockAndUnlock)
{
    Grid grid;
    ApplyLayout(grid, kLayout);
    grid.setRows(2);
    const int points = grid.columnOf("FVipNum");
    grid.setColumnLocked(points, true);
    EXPECT_TRUE(grid.isCellLocked(0, points));
    EXPECT_TRUE(grid.isCellLocked(1, points));
    grid.setRows(3);
    EXPECT_TRUE(grid.isCellLocked(2, points)) << "rows added later follow the column";
    grid.setCellLocked(1, points, false);
    EXPECT_FALSE(grid.isCellLocked(1, points));
    EXPECT_TRUE(grid.isCellLocked(0, points));
    grid.setColumnLocked(points, false);
    EXPECT_FALSE(grid.isCellLocked(0, points));
    EXPECT_FALSE(grid.isCellLocked(2, points));
}

TEST(GridLayout, OnlyTheOperatorsEditsAreReported)
{
    test::TestHost host;
    Grid grid;
    ApplyLayout(grid, kLayout);
    QSignalSpy edits(&grid, &Grid::operatorEdited);
    grid.setRows(2);
    grid.setCell(0, "FVipNum", "10");
    grid.setCellLocked(1, 3, true);
    grid.setColumnLocked(3, false);
    EXPECT_EQ(edits.count(), 0) << "code filling the grid is not an edit";

    grid.show();
    QApplication::setActiveWindow(&grid);
    auto type = [&](const char* text) {
        grid.setActiveCell(1, grid.columnOf("FVipNum"));
        auto* editor = qobject_cast<QLineEdit*>(grid.editActiveCell());
        ASSERT_NE(editor, nullptr);
        QTest::keyClicks(editor, text);
        EXPECT_EQ(editor->text(), text) << "no key is swallowed";
        QTest::keyClick(editor, Qt::Key_Return);
        QApplication::processEvents(); // the view commits an edit from its event loop
        QApplication::processEvents(); // and tells a refusal after that
    };
    // What cannot be read as it stands is refused by name and changes nothing.
    type("-7.456abc");
    EXPECT_EQ(host.messages().texts(),
              std::vector<std::string>{"【对应积分】只能输入数字，最多2位小数，不能接受“-7.456abc”！"});
    EXPECT_EQ(grid.cellStd(1, "FVipNum"), "");
    EXPECT_EQ(edits.count(), 0);

    type("7.45");
    ASSERT_EQ(edits.count(), 1);
    EXPECT_EQ(edits.at(0).at(0).toInt(), 1);
    EXPECT_EQ(edits.at(0).at(1).toInt(), grid.columnOf("FVipNum"));
    EXPECT_EQ(grid.cellStd(1, "FVipNum"), "7.45");

    // Confirming a cell without changing it is not an edit either.
    grid.setActiveCell(1, grid.columnOf("FVipNum"));
    auto* editor = qobject_cast<QLineEdit*>(grid.editActiveCell());
    ASSERT_NE(editor, nullptr);
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(edits.count(), 1);
}

TEST(GridLayout, ANumberCellTakesWhatWasTypedOrRefusesIt)
{
    GridColumn points;
    points.caption = QStringLiteral("积分奖励");
    points.type = CellType::Number;
    points.decimals = 2;
    points.maximum = 100;
    GridColumn count = points;
    count.caption = QStringLiteral("数量");
    count.type = CellType::Integer;
    // A recharge amount with no maximum recharge set: the most a balance can hold.
    GridColumn amount = points;
    amount.caption = QStringLiteral("充值金额");
    amount.maximum = 999999999.99;
    struct Case
    {
        const GridColumn& column;
        const char* typed;
        const char* stored;
        const char* refusal;
    };
    const Case cases[] = {
        {points, "12.5", "12.50", ""},
        {points, " 100 ", "100.00", ""},
        {points, "", "", ""},
        {points, "-3", "", "【积分奖励】须在0至100之间，不能接受“-3”！"},
        {points, "100.01", "", "【积分奖励】须在0至100之间，不能接受“100.01”！"},
        {points, "1e2", "", "【积分奖励】只能输入数字，最多2位小数，不能接受“1e2”！"},
        {points, "1.005", "", "【积分奖励】只能输入数字，最多2位小数，不能接受“1.005”！"},
        {count, "7.5", "", "【数量】只能输入整数，不能接受“7.5”！"},
        {count, "7", "7", ""},
        // Too much to store exactly: refused, never clamped or rounded into another amount.
        {amount, "1500000000", "", "【充值金额】须在0至999999999.99之间，不能接受“1500000000”！"},
        {amount, "999999999.99", "999999999.99", ""},
        {amount, "0.1234567890123456", "",
         "【充值金额】只能输入数字，最多2位小数，不能接受“0.1234567890123456”！"},
    };
    for (const Case& c : cases) {
        const auto result = GridCellEditor::numberText(QString::fromUtf8(c.typed), c.column);
        EXPECT_EQ(result.text.toStdString(), c.stored) << c.typed;
        EXPECT_EQ(result.refusal, c.refusal) << c.typed;
    }
}

TEST(GridHelpers, FillMarksEveryChangedValueRedAndShowsNumbers)
{
    Grid grid;
    ApplyLayout(grid,
                {6,
                 "",
                 {{"A", "chk", 10, 0, 1, 540, 0},
                  {"行号", "index", 13, 0, 1, 780, 0, ColumnDescriptor::NumberFormat{}},
                  {"姓名", "FVipName", 1, 0, 1, 1380, 0},
                  {"会费", "FVipTax", 13, 0, 1, 1380, 0, ColumnDescriptor::NumberFormat{}},
                  {"入会日期", "FOperDate", 0, 0, 1, 1380, 0},
                  {"流水号", "FFlowId", 13, 0, 0, 1380, 0, ColumnDescriptor::NumberFormat{}}}},
                {.rowNumberColumn = false});
    const platform::RecordList pending = {
        {{"FVipName", "张伟 "}, {"FVipTax", 100.0}, {"FOperDate", "2026-01-02 00:00:00"}, {"FFlowId", 11}},
        {{"FVipName", "李娜娜"}, {"FVipTax", ""}, {"FOperDate", "2026-03-04"}, {"FFlowId", 12}},
    };
    const platform::RecordList current = {
        {{"FVipName", "张伟"}, {"FVipTax", 100}, {"FOperDate", "2026-01-02 00:00:00"}},
        {{"FVipName", "李娜"}, {"FVipTax", 60}},
    };
    FillGrid(grid, pending, &current);
    ASSERT_EQ(grid.rowCount(), 2);
    EXPECT_EQ(grid.cellText(1, "index"), "2");
    EXPECT_EQ(grid.cellText(0, "FOperDate"), "2026-01-02");
    EXPECT_EQ(grid.cellText(1, "FFlowId"), "12");
    EXPECT_EQ(grid.cellText(1, "FVipTax"), "0") << "an empty number shows 0";
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
    ApplyLayout(grid, kTicked, {.rowNumberColumn = false});
    FillGrid(
        grid,
        {{{"FCardId", "C1"}, {"FFlowId", 11}}, {{"FCardId", "C2"}, {"FFlowId", 12}}, {{"FCardId", "C3"}}});
    grid.setChecked(1, 0, true);
    grid.setChecked(2, 0, true);
    const auto rows = TickedRows(grid);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].text("FCardId"), "C2");
    EXPECT_EQ(rows[0].text("FFlowId"), "12") << "the hidden column travels";
    EXPECT_EQ(rows[0].text("index"), "2");
    EXPECT_FALSE(rows[0].contains("chk"));
    EXPECT_EQ(rows[0].size(), 3u);
}

TEST(GridHelpers, SavePackageKeepsItsHeaderApartFromTheRows)
{
    Grid grid;
    ApplyLayout(grid, kLayout);
    grid.setColumnItems(grid.columnOf("FBalanceStyle"), {"现金", "银行卡"});
    grid.setRows(2);
    grid.setCell(0, "FCardId", "C1");
    grid.setCell(0, "FItemNum", "2");
    grid.setCell(0, "FVipNum", "40");
    grid.setCell(0, "FBalanceStyle", "银行卡");
    grid.setCell(0, "FEndDate", "2026-12-31");

    const SavePackage gifts = BuildSavePackage(grid, 1, 1);
    ASSERT_EQ(gifts.rowCount(), 2u) << "the header is not a row";
    const platform::FieldMap& row = gifts.rows()[0];
    EXPECT_EQ(row.size(), 5u) << "only the columns marked S, hidden ones included";
    EXPECT_FALSE(row.contains("FEndDate"));
    EXPECT_EQ(row.value("FVipNum").type(), platform::Value::Type::Double);
    EXPECT_EQ(row.text("FItemNum"), "2");
    EXPECT_EQ(row.value("FBalanceStyle").toInt(), 1) << "a list cell gives the index of its entry";
    EXPECT_EQ(row.text("cur_num"), "0");
    EXPECT_EQ(gifts.table(), "T_Pos_VipGift");
    EXPECT_EQ(gifts.keyColumns(), (std::vector<std::string>{"FItemId", "FCardType", "FBranchID"}));
    EXPECT_EQ(gifts.toRecordList().back().value("PKColCount").toInt(), 3);

    const SavePackage plain = BuildSavePackage(grid, 2, 1);
    EXPECT_TRUE(plain.header().empty());
    EXPECT_EQ(plain.toRecordList().size(), 3u);
}

TEST(GridLookups, TheNameListOpensOnACellAndItsChoiceIsTheOperatorsEdit)
{
    test::TestHost host;
    host.branch().exec(
        "insert into t_PayMethod values (1,'01','现金',0), (2,'02','银行卡',0), (3,'03','旧储值券',1)");
    platform::HostServices::instance().factory().registerClass(
        "OrmexGLNameListLib2.GLNameList",
        [path = host.config().databasePath()] { return std::make_shared<host::NameList>(path); });
    Grid grid;
    ApplyLayout(
        grid,
        {2, "", {{"卡号", "FCardId", 1, 1, 1, 1200, 1}, {"付款方式", "FBalanceStyle", 1, 0, 1, 1200, 0}}});
    grid.setRows(2);
    grid.show();
    QApplication::setActiveWindow(&grid);
    QSignalSpy edits(&grid, &Grid::operatorEdited);

    NameListLookup lookup;
    lookup.attachToCell(grid, 1, grid.columnOf("FBalanceStyle"), 34);
    auto* editor = qobject_cast<QLineEdit*>(grid.openEditor());
    ASSERT_NE(editor, nullptr) << "the cell's editor is open";
    QListWidget* popup = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == "nameList" && w->isVisible()) popup = qobject_cast<QListWidget*>(w);
    ASSERT_NE(popup, nullptr) << "F8 opened the list";
    EXPECT_EQ(popup->count(), 2) << "deleted methods are not offered";

    QTest::keyClick(editor, Qt::Key_Down);
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(grid.cellStd(1, "FBalanceStyle"), "02") << "the chosen method's number";
    EXPECT_EQ(edits.count(), 1);
    lookup.detach();
}
