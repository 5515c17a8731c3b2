#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include "host/ui/QtMessageService.h"

using ormex::host::QtMessageService;
using ormex::platform::MessageIcon;

namespace {

struct SeenBox
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
};

// Records the message box that opens next and closes it with the given button.
void answerNextBox(SeenBox& seen, QMessageBox::StandardButton press)
{
    QTimer::singleShot(0, [&seen, press] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        seen = {box->windowTitle(), box->text(), box->icon(), box->standardButtons()};
        box->button(press)->click();
    });
}

} // namespace

TEST(QtMessageService, BoxesCarryTitleIconAndButtons)
{
    QtMessageService qtService;
    ormex::platform::MessageService& service = qtService;
    struct Case
    {
        MessageIcon icon;
        QMessageBox::Icon expected;
    };
    for (const Case& c : {Case{MessageIcon::Information, QMessageBox::Information},
                          Case{MessageIcon::Warning, QMessageBox::Warning},
                          Case{MessageIcon::Critical, QMessageBox::Critical}}) {
        SeenBox seen;
        answerNextBox(seen, QMessageBox::Ok);
        service.message("卡号不存在", "提示", c.icon);
        EXPECT_EQ(seen.title, "提示");
        EXPECT_EQ(seen.text, "卡号不存在");
        EXPECT_EQ(seen.icon, c.expected);
        EXPECT_EQ(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    }

    SeenBox seen;
    answerNextBox(seen, QMessageBox::Ok);
    service.error("数据库无法打开");
    EXPECT_EQ(seen.title, "错误");
    EXPECT_EQ(seen.icon, QMessageBox::Critical);
}

TEST(QtMessageService, QuestionAnswersWithTheButtonPressed)
{
    QtMessageService qtService;
    ormex::platform::MessageService& service = qtService;
    for (const auto& [press, expected] :
         {std::pair{QMessageBox::Yes, true}, std::pair{QMessageBox::No, false}}) {
        SeenBox seen;
        answerNextBox(seen, press);
        EXPECT_EQ(service.question("确定要挂失吗？"), expected);
        EXPECT_EQ(seen.icon, QMessageBox::Question);
        EXPECT_EQ(seen.buttons, QMessageBox::Yes | QMessageBox::No);
    }
}

TEST(QtMessageService, InputReturnsTextOrNothingOnCancel)
{
    QtMessageService qtService;
    ormex::platform::MessageService& service = qtService;
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->setTextValue("12345");
        dialog->accept();
    });
    EXPECT_EQ(service.input("请输入密码", "密码"), std::optional<std::string>("12345"));

    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->reject();
    });
    EXPECT_EQ(service.input("请输入密码", "密码", "x"), std::nullopt);
}

TEST(QtMessageService, SaveDialogOffersTheNameInTheFolderChosenLast)
{
    QtMessageService qtService;
    ormex::platform::MessageService& service = qtService;
    QTemporaryDir folder;
    QString proposed;
    // Notes what the file dialog proposes once it shows, then chooses `path` (cancels when empty).
    auto answer = [&proposed](QString path) {
        auto* timer = new QTimer;
        timer->setInterval(5);
        QObject::connect(timer, &QTimer::timeout, [timer, &proposed, path] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            timer->deleteLater();
            EXPECT_EQ(dialog->nameFilters(), QStringList{"CSV 文件 (*.csv)"});
            proposed = dialog->selectedFiles().value(0);
            dialog->selectFile(path);
            path.isEmpty() ? dialog->reject() : static_cast<QDialog*>(dialog)->accept();
        });
        timer->start();
    };
    const QString chosen = folder.filePath(QStringLiteral("会员.csv"));
    answer(chosen);
    EXPECT_EQ(service.saveFileName("导出CSV", "会员卡.csv", "CSV 文件 (*.csv)"), chosen.toStdString());
    answer({});
    EXPECT_EQ(service.saveFileName("导出CSV", "积分.csv", "CSV 文件 (*.csv)"), std::nullopt);
    EXPECT_EQ(proposed, folder.filePath(QStringLiteral("积分.csv")));
}
