#pragma once

#include <QMessageLogContext>
#include <QString>
#include <QtGlobal>

#include <string>
#include <vector>

namespace ormex::test {

// Every message logged while it lives, as "category: text", kept instead of printed.
class CapturedLog
{
public:
    CapturedLog() : m_previous(qInstallMessageHandler(keep)) { lines().clear(); }
    ~CapturedLog() { qInstallMessageHandler(m_previous); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The lines of one category, or of those under a prefix ("ormex." for all of the system's).
    std::vector<std::string> of(const std::string& prefix) const
    {
        std::vector<std::string> found;
        for (const std::string& line : lines())
            if (line.rfind(prefix, 0) == 0) found.push_back(line);
        return found;
    }

private:
    static std::vector<std::string>& lines()
    {
        static std::vector<std::string> kept;
        return kept;
    }
    static void keep(QtMsgType, const QMessageLogContext& context, const QString& message)
    {
        lines().push_back(std::string(context.category ? context.category : "") + ": " +
                          message.toStdString());
    }

    QtMessageHandler m_previous;
};

} // namespace ormex::test
