// The liability report window over the demo branch: its tables, the chart by card type, a balance
// that does not decode, and the CSV and PDF it writes.
#include <gtest/gtest.h>

#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QTableWidget>

#include "host/ui/LiabilityReportWindow.h"
#include "store/DemoData.h"
#include "support/ScreenShots.h"
#include "support/TestHost.h"

using namespace ormex;

TEST(LiabilityReportWindow, ShowsTheTablesAndTheChartAndWritesCsvAndPdf)
{
    test::TestHost host;
    host.branch().exec("delete from t_SystemProfile");
    db::seedDemo(host.branch().db(), db::DemoRole::Branch);
    host.branch().exec("update T_Pos_VipRecord set FResidualAmt='%%' where FCardId='88000002'");
    host::LiabilityReportWindow window(host.config().databasePath());
    const auto& report = window.report();
    EXPECT_EQ(report.undecodable.size(), 1u);
    const QString summary = window.findChild<QLabel*>("summary")->text();
    EXPECT_TRUE(summary.contains(QStringLiteral("%1 张卡").arg(report.total.cards))) << summary.toStdString();
    EXPECT_TRUE(summary.contains(QStringLiteral("另有 1 张卡的余额无法解码"))) << summary.toStdString();
    EXPECT_TRUE(summary.contains(QStringLiteral("（含已删除但仍有余额或积分的卡 4 张：3393.92 元、%1 积分）")
                                     .arg(report.deleted.points)))
        << summary.toStdString();
    EXPECT_EQ(window.table()->item(0, 0)->text(), "按卡类别");

    // One bar per card type for each of the two series, of the report's values.
    const auto series = window.chart()->chart()->series();
    ASSERT_EQ(series.size(), 2);
    const QBarSet* balance = static_cast<QBarSeries*>(series[0])->barSets().front();
    ASSERT_EQ(balance->count(), static_cast<int>(report.byType.size()));
    for (int i = 0; i < balance->count(); ++i)
        EXPECT_DOUBLE_EQ(balance->at(i), report.byType[static_cast<std::size_t>(i)].balance);
    test::saveShot(window, "liability-report.png");

    const QString folder = QString::fromStdString(host.branch().folder());
    ASSERT_TRUE(window.exportCsv(folder + "/report.csv"));
    QFile csv(folder + "/report.csv");
    ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
    const QByteArray bytes = csv.readAll();
    EXPECT_TRUE(bytes.startsWith("\xEF\xBB\xBF按卡类别\r\n卡类别,卡数,储值余额,剩余积分\r\n"))
        << bytes.left(80).toStdString();
    EXPECT_TRUE(bytes.contains("88000002,%%")) << "the undecodable balance is listed";
    EXPECT_TRUE(bytes.contains("已删除的卡,4,3393.92,")) << "the deleted cards' line";
    EXPECT_FALSE(window.exportCsv(folder + "/no-such-folder/report.csv"));
    EXPECT_NE(host.messages().last().find("导出CSV失败"), std::string::npos);

    ASSERT_TRUE(window.printPdf(folder + "/report.pdf"));
    QProcess text;
    text.start("pdftotext", {folder + "/report.pdf", "-"});
    ASSERT_TRUE(text.waitForFinished());
    const QString printed = QString::fromUtf8(text.readAllStandardOutput());
    EXPECT_TRUE(printed.contains(QStringLiteral("会员储值与积分负债报表")));
    EXPECT_TRUE(printed.contains(QStringLiteral("按卡状态")));
}
