// The points screen's member grid saved as a CSV file from its context menu and with Ctrl+E.
#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QFile>
#include <QMenu>
#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>

#include "PointsScreenFixture.h"

using namespace ormex;
using test::PointsScreen;

namespace {

// Opens the grid's context menu and returns the captions it offers; with ORMEX_SHOTS set, keeps a
// picture of the screen with the menu open over it.
QStringList contextMenuOf(QWidget& screen, module::frame::Grid& grid, const char* shot)
{
    QStringList captions;
    auto* timer = new QTimer;
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, [&, timer] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) return;
        timer->stop();
        timer->deleteLater();
        for (const QAction* action : menu->actions())
            captions << action->text();
        if (const char* folder = std::getenv("ORMEX_SHOTS")) {
            QPixmap picture = screen.grab();
            QPainter painter(&picture);
            painter.drawPixmap(screen.mapFromGlobal(menu->pos()), menu->grab());
            painter.end();
            picture.save(QString::fromUtf8(folder) + "/" + shot);
        }
        menu->close();
    });
    timer->start();
    const QPoint at = grid.visualRect(grid.model()->index(1, 2)).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, grid.viewport()->mapToGlobal(at));
    QApplication::sendEvent(grid.viewport(), &event);
    return captions;
}

} // namespace

TEST(PointsGridCsv, TheMemberGridIsSavedAsTheScreenShowsIt)
{
    PointsScreen t;
    t.query();
    ASSERT_EQ(t.grid().rowCount(), 4);
    t.type(t.row("P3"), "FVipNum", "12.5");

    EXPECT_EQ(contextMenuOf(t.screen, t.grid(), "points-grid-menu.png"), QStringList{"导出CSV…"});

    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("会员积分.csv"));
    t.host.messages().clear();
    t.host.messages().choose(path.toStdString());
    t.grid().setFocus();
    QTest::keyClick(&t.grid(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"积分管理-积分增减.csv"});

    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    ASSERT_EQ(lines.size(), 6) << "the captions, four members, nothing after the last CR LF";
    EXPECT_EQ(lines[0], QByteArray("\xEF\xBB\xBF序号,卡号,姓名,积分奖励,卡状态,卡类别\r"))
        << "the hidden 剩余积分 is left out";
    const int p3 = t.row("P3");
    EXPECT_EQ(lines[p3 + 1], QByteArray::number(p3 + 1) + ",P3,王芳,12.50,正常,金卡\r");
}
