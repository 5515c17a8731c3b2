#include "LoginDialog.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "HostLog.h"
#include "platform/HostServices.h"
#include "store/SharedDatabases.h"

namespace ormex::host {

std::string loginMachineName()
{
    return platform::HostServices::instance().systemInfo().computerName().value_or("");
}

LoginDialog::LoginDialog(std::string databasePath, const std::string& login, QWidget* parent)
    : QDialog(parent), m_path(std::move(databasePath))
{
    setObjectName("dlgLogin");
    setWindowTitle(QStringLiteral("登录 — 会员卡管理"));
    auto* root = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("请输入用户名和密码"), this);
    QFont big = title->font();
    big.setPointSize(big.pointSize() + 3);
    big.setBold(true);
    title->setFont(big);
    root->addWidget(title);

    auto* form = new QFormLayout;
    m_txtUser = new QLineEdit(QString::fromStdString(login), this);
    m_txtUser->setObjectName("txtUser");
    m_txtPassword = new QLineEdit(this);
    m_txtPassword->setObjectName("txtPassword");
    m_txtPassword->setEchoMode(QLineEdit::Password);
    form->addRow(QStringLiteral("用户名"), m_txtUser);
    form->addRow(QStringLiteral("密    码"), m_txtPassword);
    root->addLayout(form);

    m_lblMessage = new QLabel(this);
    m_lblMessage->setObjectName("lblMessage");
    m_lblMessage->setWordWrap(true);
    m_lblMessage->setStyleSheet(QStringLiteral("color: #c00000;"));
    root->addWidget(m_lblMessage);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    m_cmdLogin = new QPushButton(QStringLiteral("登录(&L)"), this);
    m_cmdLogin->setObjectName("cmdLogin");
    m_cmdLogin->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("退出(&X)"), this);
    cancel->setObjectName("cmdCancel");
    buttons->addWidget(m_cmdLogin);
    buttons->addWidget(cancel);
    root->addLayout(buttons);

    connect(m_cmdLogin, &QPushButton::clicked, this, &LoginDialog::tryLogin);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    (login.empty() ? m_txtUser : m_txtPassword)->setFocus();
    resize(420, 220);
}

void LoginDialog::tryLogin()
{
    const std::string user = m_txtUser->text().trimmed().toStdString();
    if (user.empty()) {
        m_lblMessage->setText(QStringLiteral("请输入用户名！"));
        m_txtUser->setFocus();
        return;
    }
    try {
        const db::LoginOutcome outcome = db::login(db::sharedDatabase(m_path), user,
                                                   m_txtPassword->text().toStdString(), loginMachineName());
        if (outcome.result == db::LoginOutcome::Result::Ok) {
            m_lblMessage->clear();
            m_outcome = outcome;
            accept();
            return;
        }
        m_lblMessage->setText(QString::fromStdString(outcome.message()));
    } catch (const std::exception& error) {
        qCWarning(lcHost, "the login of %s failed: %s", user.c_str(), error.what());
        m_lblMessage->setText(QString::fromStdString(error.what()));
    }
    m_txtPassword->clear();
    m_txtPassword->setFocus();
}

std::optional<db::LoginOutcome> LoginDialog::run(const std::string& databasePath, const std::string& login,
                                                 QWidget* parent)
{
    LoginDialog dialog(databasePath, login, parent);
    dialog.exec();
    return dialog.outcome();
}

} // namespace ormex::host
