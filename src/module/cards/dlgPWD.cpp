#include "dlgPWD.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "module/frame/Gateway.h"
#include "platform/Text.h"

namespace ormex::module::cards {

dlgPWD::dlgPWD(QWidget* parent) : QDialog(parent)
{
    setObjectName("dlgPWD");
    setWindowTitle(QStringLiteral("修改密码"));
    auto* grid = new QGridLayout(this);
    const QString labels[3] = {QStringLiteral("原 密 码"), QStringLiteral("新 密 码"),
                               QStringLiteral("密码确认")};
    for (int i = 0; i < 3; ++i) {
        m_txtPWD[i] = new QLineEdit(this);
        m_txtPWD[i]->setObjectName(QStringLiteral("txtPWD_%1").arg(i));
        m_txtPWD[i]->setEchoMode(QLineEdit::Password);
        m_txtPWD[i]->setMaxLength(6);
        grid->addWidget(new QLabel(labels[i], this), i, 0);
        grid->addWidget(m_txtPWD[i], i, 1);
    }
    m_cmdOk = new QPushButton(QStringLiteral("确定(&O)"), this);
    m_cmdOk->setObjectName("cmdOk");
    m_cmdCancel = new QPushButton(QStringLiteral("取消(&C)"), this);
    m_cmdCancel->setObjectName("cmdCancel");
    for (QPushButton* button : {m_cmdOk, m_cmdCancel}) {
        button->setAutoDefault(false);
        button->setDefault(false);
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_cmdOk);
    buttons->addWidget(m_cmdCancel);
    grid->addLayout(buttons, 3, 0, 1, 2);
    connect(m_cmdOk, &QPushButton::clicked, this, &dlgPWD::onOk);
    connect(m_cmdCancel, &QPushButton::clicked, this, &dlgPWD::onCancel);
}

void dlgPWD::run()
{
    m_pwd.clear();
    m_cancel = false;
    exec();
}

void dlgPWD::onOk()
{
    auto& messages = frame::Messages();
    const std::string current = platform::trim(m_txtPWD[0]->text().toStdString());
    if (!frame::CheckPassword(m_itemId, current)) {
        m_txtPWD[0]->setFocus();
        messages.message("原密码错误！");
        return;
    }
    const QString newPassword = m_txtPWD[1]->text();
    if (newPassword.size() != 6 && !newPassword.isEmpty()) {
        messages.message("密码必须为6位！");
        m_txtPWD[1]->setFocus();
        return;
    }
    if (newPassword != m_txtPWD[2]->text()) {
        m_txtPWD[2]->setFocus();
        messages.message("新密码不一致！");
        return;
    }
    m_pwd = newPassword.toStdString();
    QDialog::done(Accepted); // hides the dialog; Cancel stays false
}

void dlgPWD::onCancel()
{
    m_cancel = true;
    m_pwd.clear();
    reject();
}

void dlgPWD::done(int result)
{
    // Ending the dialog any other way than a confirmed new password counts as cancelled.
    if (result != Accepted) {
        m_cancel = true;
        m_pwd.clear();
    }
    QDialog::done(result);
}

void dlgPWD::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        focusNextChild();
        return;
    case Qt::Key_Escape:
        m_pwd.clear();
        reject();
        return;
    default:
        QDialog::keyPressEvent(event);
    }
}

} // namespace ormex::module::cards
