#pragma once

#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QTimer>
#include <QWidget>

#include <cstdlib>
#include <functional>

// Helpers of the screen tests: answering a modal dialog when it shows, and keeping pictures.
namespace ormex::test {

// Runs `act` on the dialog of type D as soon as it is shown modally.
template <class D> void whenModal(std::function<void(D&)> act)
{
    auto* timer = new QTimer;
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        if (auto* dialog = dynamic_cast<D*>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            act(*dialog);
        }
    });
    timer->start();
}

// Saves a picture of the widget when ORMEX_SHOTS names a folder.
inline void saveShot(QWidget& widget, const char* name)
{
    if (const char* folder = std::getenv("ORMEX_SHOTS"))
        widget.grab().save(QString::fromUtf8(folder) + "/" + name);
}

// Saves a picture of a screen with a dialog shown over its middle, as the operator sees them,
// when ORMEX_SHOTS names a folder.
inline void saveShotWithDialog(QWidget& screen, QWidget& dialog, const char* name)
{
    const char* folder = std::getenv("ORMEX_SHOTS");
    if (!folder) return;
    QPixmap picture = screen.grab();
    const QPixmap box = dialog.grab();
    QPainter painter(&picture);
    painter.drawPixmap((picture.width() - box.width()) / 2, (picture.height() - box.height()) / 2, box);
    painter.end();
    picture.save(QString::fromUtf8(folder) + "/" + name);
}

} // namespace ormex::test
