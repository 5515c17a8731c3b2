// The main of the screen tests: one QApplication on the offscreen platform for all of them.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? QByteArray("offscreen") : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"), 10));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
