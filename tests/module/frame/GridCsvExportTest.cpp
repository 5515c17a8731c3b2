// Saving a grid as a CSV file: what the file holds, byte for byte, and what a failed write leaves.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QVBoxLayout>

#include <unistd.h>

#include "module/frame/GridCsvExport.h"
#include "module/frame/GridLayout.h"
#include "support/TestHost.h"

using namespace ormex;
using namespace ormex::module::frame;
using Kind = test::ScriptedMessageService::Kind;

namespace {

// A hidden number column between the shown ones, a check box, a text column last.
const GridLayout kMembers{6,
                          "",
                          {{"卡号", "FCardId", 1, 1, 1, 1200, 0},
                           {"姓名", "FVipName", 1, 1, 1, 1200, 0},
                           {"对应积分", "FVipNum", 13, 0, 1, 1000, 0},
                           {"剩余积分", "cur_num", 13, 1, 0, 1000, 0},
                           {"选择", "Sel", 10, 0, 1, 600, 0},
                           {"备注", "FMemo", 1, 0, 1, 2000, 0}}};

// The points screen's first tab in miniature: a titled screen, a tab, the grid on it.
struct TabbedGrid
{
    TabbedGrid()
    {
        screen.setWindowTitle(QStringLiteral("积分管理"));
        auto* tabs = new QTabWidget(&screen);
        (new QVBoxLayout(&screen))->addWidget(tabs);
        auto* page = new QWidget;
        grid = new Grid(page);
        (new QVBoxLayout(page))->addWidget(grid);
        tabs->addTab(page, QStringLiteral("积分增减"));
        ApplyLayout(*grid, kMembers);
        grid->setRows(3);
        const char* rows[3][6] = {{"P1", "张伟", "1234.5", "50", "1", "含,逗号"},
                                  {"P2", "李娜", "8", "0", "0", "隐藏的行"},
                                  {"P3", "王\"芳\"", "7", "12", "0", "第一行\n第二行"}};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 6; ++c)
                grid->setCellText(r, c + 1, QString::fromUtf8(rows[r][c]));
        grid->setRowHidden(1, true);
        screen.show();
        QApplication::setActiveWindow(&screen);
        grid->setFocus();
    }
    void pressCtrlE() { QTest::keyClick(grid, Qt::Key_E, Qt::ControlModifier); }

    QWidget screen;
    Grid* grid = nullptr;
};

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

TEST(GridCsvExport, CtrlEWritesTheShownColumnsAndRowsAsShown)
{
    test::TestHost host;
    TabbedGrid t;
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("积分.csv"));
    QFile old(path);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("an older, longer file that must not show through");
    old.close();

    host.messages().choose(path.toStdString());
    t.pressCtrlE();
    EXPECT_EQ(host.messages().texts(), std::vector<std::string>{"积分管理-积分增减.csv"}) << "screen and tab";
    EXPECT_EQ(host.messages().lastFilter(), "CSV 文件 (*.csv)");

    EXPECT_EQ(contents(path), QByteArray("\xEF\xBB\xBF"
                                         "序号,卡号,姓名,对应积分,选择,备注\r\n"
                                         "1,P1,张伟,1234.50,√,\"含,逗号\"\r\n"
                                         "3,P3,\"王\"\"芳\"\"\",7.00,,\"第一行\n第二行\"\r\n"))
        << "no hidden column or row; numbers and check boxes as the cells show them";
    EXPECT_EQ(entries(folder.path()), QStringList{QStringLiteral("积分.csv")}) << "no temporary file stays";

    host.messages().choose(folder.filePath(QStringLiteral("名单")).toStdString());
    t.pressCtrlE();
    EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("名单.csv")))) << "a name typed bare gets .csv";
}

TEST(GridCsvExport, AFailedWriteIsToldAndLeavesTheFolderAsItWas)
{
    test::TestHost host;
    TabbedGrid t;
    QTemporaryDir folder;
    // In the way of the file: a folder of the same name. The data is written before the rename
    // fails, so the temporary file has to be taken away again.
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("积分.csv")));
    auto* command = t.grid->findChild<QAction*>(QStringLiteral("exportCsv"));
    ASSERT_TRUE(command && t.grid->actions().contains(command)) << "offered in the context menu";
    const std::string blocked = folder.filePath(QStringLiteral("积分.csv")).toStdString();
    host.messages().choose(blocked);
    command->trigger();
    ASSERT_EQ(host.messages().shown().size(), 2u);
    EXPECT_EQ(host.messages().shown()[1].kind, Kind::Error);
    EXPECT_EQ(host.messages().last(), "导出CSV失败。无法写入文件“" + blocked + "”：已有同名的文件夹。");
    EXPECT_EQ(entries(folder.path()), QStringList{QStringLiteral("积分.csv")});

    // A folder the operator may not write to (the superuser writes anywhere).
    if (::geteuid() != 0) {
        const QString locked = folder.filePath(QStringLiteral("只读"));
        ASSERT_TRUE(QDir().mkdir(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        host.messages().choose(QDir(locked).filePath(QStringLiteral("积分.csv")).toStdString());
        t.pressCtrlE();
        EXPECT_NE(host.messages().last().find("没有写入该文件夹的权限"), std::string::npos);
        EXPECT_TRUE(entries(locked).isEmpty());
        QFile::setPermissions(locked,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
}
