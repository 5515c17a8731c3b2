// What every screen shares: the task handle and the keys.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTabWidget>
#include <QVBoxLayout>

#include "module/frame/ScreenKeys.h"
#include "module/frame/TaskHandle.h"
#include "module/widgets/InputField.h"
#include "support/TestHost.h"

using namespace ormex;
using module::frame::TaskHandle;

TEST(TaskHandle, RenewsAndReleasesItsTask)
{
    test::TestHost host;
    auto tasks = [&] {
        return host.branch().rows("select FTaskNo, FItem, FCode from t_NetTask order by FTaskHandle");
    };
    {
        TaskHandle task;
        EXPECT_GT(task.renew(2002, platform::Value("C1"), "hy0008"), 0);
        EXPECT_EQ(tasks(), std::vector<std::string>{"2002|C1|hy0008"});
        task.renew(2002, platform::Value("C2"), "hy0007");
        EXPECT_EQ(tasks(), std::vector<std::string>{"2002|C2|hy0007"}) << "the task held before is released";
        EXPECT_EQ(task.renew(0, "hy0008"), -1);
        EXPECT_FALSE(task.held());
        EXPECT_TRUE(tasks().empty());
        task.renew(2002, platform::Value("C3"), "hy0008");
    }
    EXPECT_TRUE(tasks().empty()) << "a handle going away releases its task";
}

TEST(ScreenKeys, EnterMovesOnAndCtrlTabCyclesTheTabs)
{
    test::TestHost host;
    QDialog screen;
    auto* layout = new QVBoxLayout(&screen);
    auto* tabs = new QTabWidget(&screen);
    for (const char* name : {"一", "二", "三"})
        tabs->addTab(new QWidget, QString::fromUtf8(name));
    auto* first = new module::widgets::InputField("first", "卡号", &screen);
    auto* search = new module::widgets::InputField("search", "查询", &screen);
    auto* last = new QLineEdit(&screen);
    for (QWidget* w : std::initializer_list<QWidget*>{tabs, first, search, last})
        layout->addWidget(w);
    int searches = 0;
    QObject::connect(search, &module::widgets::InputField::returnPressed, [&] { ++searches; });
    module::frame::InstallScreenKeys(screen, tabs);
    module::frame::UseCardNumberKeys(*first);
    screen.show();
    QApplication::setActiveWindow(&screen);

    first->edit()->setFocus();
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(first->edit(), &enter);
    EXPECT_EQ(QApplication::focusWidget(), search->edit()) << "Enter moves on as Tab does";
    QApplication::sendEvent(search->edit(), &enter);
    EXPECT_EQ(searches, 1) << "a field that runs something on Enter keeps it";

    QKeyEvent ctrlTab(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
    for (int expected : {1, 2, 0}) {
        QApplication::sendEvent(last, &ctrlTab);
        EXPECT_EQ(tabs->currentIndex(), expected);
    }

    first->edit()->clear();
    first->edit()->insert("ab-12 3_中Z");
    EXPECT_TRUE(first->text().isEmpty()) << "pasted text with other characters is refused";
    first->edit()->insert("ab12Z");
    EXPECT_EQ(first->text(), "ab12Z");
}
