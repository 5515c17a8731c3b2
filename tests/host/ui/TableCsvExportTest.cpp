// The host's pick lists save what they list as CSV files, as the component's grids do.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#include "host/ui/LookupDialog.h"
#include "support/TestHost.h"

using namespace ormex;

TEST(TableCsvExport, ALookupListIsSavedWithCtrlE)
{
    test::TestHost host;
    const platform::Recordset members(
        {"FCardId", "FVipName", "FMemo"},
        {{platform::Value("8800001"), platform::Value("张伟"), platform::Value("")},
         {platform::Value("8800002"), platform::Value("李娜"), platform::Value("x")},
         {platform::Value("8800003"), platform::Value("王\"芳\""), platform::Value("a,b")}});
    host::LookupDialog dialog(
        "会员卡", {{"FCardId", "会员卡号"}, {"FVipName", "姓名"}, {"FMemo", "备注"}},
        [&](const std::string&) { return members; }, true, "", nullptr);
    dialog.table()->setRowHidden(1, true);
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    dialog.table()->setFocus();

    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("会员卡.csv"));
    host.messages().choose(path.toStdString());
    QTest::keyClick(dialog.table(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(host.messages().last(), "会员卡.csv") << "the list's title names the file";
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("\xEF\xBB\xBF"
                                         "会员卡号,姓名,备注\r\n"
                                         "8800001,张伟,\r\n"
                                         "8800003,\"王\"\"芳\"\"\",\"a,b\"\r\n"));
}
