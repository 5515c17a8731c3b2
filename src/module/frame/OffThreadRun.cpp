#include "OffThreadRun.h"

#include <QEventLoop>
#include <QFutureWatcher>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>

namespace ormex::module::frame {

namespace {

constexpr int kTickMs = 40;

} // namespace

void RunOffThread(const std::function<void()>& work, const std::function<void()>& tick)
{
    std::exception_ptr failure;
    QEventLoop loop;
    QFutureWatcher<void> watcher;
    QObject::connect(&watcher, &QFutureWatcher<void>::finished, &loop, &QEventLoop::quit);
    QTimer ticker;
    if (tick) {
        QObject::connect(&ticker, &QTimer::timeout, tick);
        ticker.start(kTickMs);
    }
    watcher.setFuture(QtConcurrent::run([&work, &failure] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
    }));
    // finished() is queued to this thread: the loop cannot miss it, even when the work ends before
    // the loop starts.
    loop.exec();
    watcher.waitForFinished();
    ticker.stop();
    if (tick) tick();
    if (failure) std::rethrow_exception(failure);
}

} // namespace ormex::module::frame
