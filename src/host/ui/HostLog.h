#pragma once

#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <QtGlobal>

namespace ormex::host {

// ormex.host: failures of the host's windows that the operator is told of only in Chinese, or not
// at all (a lookup that shows no rows, a count shown as unknown).
Q_DECLARE_LOGGING_CATEGORY(lcHost)

// While it lives, every message of the process (every logging category, Qt's own too) is also
// appended to a file, one line each with the time, the level and the category; the handler in
// place before (stderr, which the journal of a service keeps) still gets every message. A file
// that cannot be opened leaves the messages where they went, with a warning saying so.
class HostLogFile
{
public:
    explicit HostLogFile(const QString& path);
    ~HostLogFile();
    HostLogFile(const HostLogFile&) = delete;
    HostLogFile& operator=(const HostLogFile&) = delete;

    bool isOpen() const { return m_file.isOpen(); }

private:
    QFile m_file;
    QtMessageHandler m_previous = nullptr;
};

} // namespace ormex::host
