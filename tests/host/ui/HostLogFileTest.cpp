// ormex-host's log file: every message of the process, one line each with the time, the level and
// the category, while the messages still reach the handler before it (stderr).
#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "host/ui/HostLog.h"
#include "support/CapturedLog.h"

using namespace ormex;

TEST(HostLogFile, AppendsTimedLinesAndPassesThemOn)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("ormex-host.log"));
    test::CapturedLog before; // stands for stderr
    {
        host::HostLogFile file(path);
        ASSERT_TRUE(file.isOpen());
        qCWarning(host::lcHost, "reading card %s failed: %s", "8800'0001", "数据库已锁定");
    }
    {
        host::HostLogFile again(path); // a second start appends
        qCInfo(host::lcHost, "second");
    }
    qCWarning(host::lcHost, "after");

    QFile written(path);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList lines = QString::fromUtf8(written.readAll()).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2) << "nothing is written once the file is gone";
    const QRegularExpression timed(QStringLiteral(
        R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3} warning ormex\.host: reading card 8800'0001 failed: 数据库已锁定$)"));
    EXPECT_TRUE(timed.match(lines[0]).hasMatch()) << lines[0].toStdString();
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral(" info ormex.host: second"))) << lines[1].toStdString();
    EXPECT_EQ(before.of("ormex.host").size(), 3u) << "the previous handler got every message";

    // A folder that does not exist: no file, and the messages go where they went.
    host::HostLogFile missing(dir.filePath(QStringLiteral("no/such/folder/ormex-host.log")));
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(before.of("ormex.host").size(), 4u) << "the failure to open is logged";
}
