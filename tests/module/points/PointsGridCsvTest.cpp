// The points screen's member grid offers "导出CSV…" in its context menu and with Ctrl+E.
#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
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

TEST(PointsGridCsv, TheMemberGridOffersTheExportAndNamesTheFileAfterTheScreen)
{
    PointsScreen t;
    t.query();
    t.host.messages().clear();
    t.grid().setFocus();
    QTest::keyClick(&t.grid(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(t.host.messages().texts(), std::vector<std::string>{"积分管理-积分增减.csv"});

    // Asked for last: a closed menu gives the window back to the screen only from the event loop.
    EXPECT_EQ(contextMenuOf(t.screen, t.grid(), "points-grid-menu.png"), QStringList{"导出CSV…"});
}
