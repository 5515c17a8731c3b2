#include "HostLog.h"

#include <QDateTime>
#include <QMutex>
#include <QMutexLocker>

namespace ormex::host {

Q_LOGGING_CATEGORY(lcHost, "ormex.host")

namespace {

// The one file installed; messages may come from any thread.
QMutex g_mutex;
QFile* g_file = nullptr;
QtMessageHandler g_previous = nullptr;

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        return "fatal";
    }
    return "?";
}

void writeMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    {
        QMutexLocker lock(&g_mutex);
        if (g_file) {
            const QString line =
                QDateTime::currentDateTime().toString(Qt::ISODateWithMs) + ' ' + levelName(type) + ' ' +
                QString::fromUtf8(context.category ? context.category : "") + ": " + message + '\n';
            g_file->write(line.toUtf8());
            g_file->flush(); // the line is there even if the process dies next
        }
    }
    if (g_previous) g_previous(type, context, message);
}

} // namespace

HostLogFile::HostLogFile(const QString& path) : m_file(path)
{
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        qCWarning(lcHost, "cannot open the log file %s: %s", qUtf8Printable(path),
                  qUtf8Printable(m_file.errorString()));
        return;
    }
    QMutexLocker lock(&g_mutex);
    g_file = &m_file;
    m_previous = qInstallMessageHandler(writeMessage);
    g_previous = m_previous;
}

HostLogFile::~HostLogFile()
{
    if (!m_file.isOpen()) return;
    qInstallMessageHandler(m_previous);
    QMutexLocker lock(&g_mutex);
    g_file = nullptr;
    g_previous = nullptr;
}

} // namespace ormex::host
