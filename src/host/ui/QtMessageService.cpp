#include "QtMessageService.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>

namespace ormex::host {

namespace {

QMessageBox::Icon toQt(platform::MessageIcon icon)
{
    switch (icon) {
    case platform::MessageIcon::Information:
        return QMessageBox::Information;
    case platform::MessageIcon::Question:
        return QMessageBox::Question;
    case platform::MessageIcon::Warning:
        return QMessageBox::Warning;
    case platform::MessageIcon::Critical:
        return QMessageBox::Critical;
    case platform::MessageIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QWidget* owner()
{
    return QApplication::activeModalWidget() ? QApplication::activeModalWidget()
                                             : QApplication::activeWindow();
}

} // namespace

void QtMessageService::message(const std::string& text, const std::string& title, platform::MessageIcon icon)
{
    QMessageBox box(toQt(icon), QString::fromStdString(title), QString::fromStdString(text), QMessageBox::Ok,
                    owner());
    box.setObjectName("messageBox");
    box.button(QMessageBox::Ok)->setText(QStringLiteral("确定"));
    box.exec();
}

bool QtMessageService::question(const std::string& text, const std::string& title, platform::MessageIcon icon)
{
    QMessageBox box(toQt(icon), QString::fromStdString(title), QString::fromStdString(text),
                    QMessageBox::Yes | QMessageBox::No, owner());
    box.setObjectName("questionBox");
    box.button(QMessageBox::Yes)->setText(QStringLiteral("是(&Y)"));
    box.button(QMessageBox::No)->setText(QStringLiteral("否(&N)"));
    box.setDefaultButton(QMessageBox::Yes);
    return box.exec() == QMessageBox::Yes;
}

std::optional<std::string> QtMessageService::input(const std::string& prompt, const std::string& title,
                                                   const std::string& defaultText)
{
    bool ok = false;
    const QString text =
        QInputDialog::getText(owner(), QString::fromStdString(title), QString::fromStdString(prompt),
                              QLineEdit::Normal, QString::fromStdString(defaultText), &ok);
    if (!ok) return std::nullopt;
    return text.toStdString();
}

void QtMessageService::error(const std::string& description)
{
    message(description, "错误", platform::MessageIcon::Critical);
}

void QtMessageService::warning(const std::string& text)
{
    message(text, "警告", platform::MessageIcon::Warning);
}

std::optional<std::string> QtMessageService::saveFileName(const std::string& title,
                                                          const std::string& proposedName,
                                                          const std::string& filter)
{
    QString proposed = QString::fromStdString(proposedName);
    if (QFileInfo(proposed).isRelative()) {
        QString folder = m_lastFolder;
        if (folder.isEmpty()) folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        if (folder.isEmpty()) folder = QDir::homePath();
        proposed = QDir(folder).filePath(proposed);
    }
    const QString chosen = QFileDialog::getSaveFileName(owner(), QString::fromStdString(title), proposed,
                                                        QString::fromStdString(filter));
    if (chosen.isEmpty()) return std::nullopt;
    m_lastFolder = QFileInfo(chosen).absolutePath();
    return chosen.toStdString();
}

} // namespace ormex::host
