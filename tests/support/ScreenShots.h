#pragma once

#include <QApplication>
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

} // namespace ormex::test
