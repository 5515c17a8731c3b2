#pragma once

#include <QDialog>

#include <optional>
#include <string>

#include "store/Operators.h"

class QLabel;
class QLineEdit;
class QPushButton;

// 登录: the operator's login name and password, checked against the session database. A refused
// login says why below the fields and the window stays for another try; three wrong passwords in a
// row lock the user for a while.
namespace ormex::host {

class LoginDialog : public QDialog
{
public:
    LoginDialog(std::string databasePath, const std::string& login, QWidget* parent = nullptr);

    // Runs the window; the operator who logged in, or nothing when the window was closed.
    static std::optional<db::LoginOutcome> run(const std::string& databasePath, const std::string& login,
                                               QWidget* parent = nullptr);

    // The login button's action.
    void tryLogin();
    const std::optional<db::LoginOutcome>& outcome() const { return m_outcome; }

private:
    std::string m_path;
    QLineEdit* m_txtUser = nullptr;
    QLineEdit* m_txtPassword = nullptr;
    QLabel* m_lblMessage = nullptr;
    QPushButton* m_cmdLogin = nullptr;
    std::optional<db::LoginOutcome> m_outcome;
};

// The machine name the login log rows carry.
std::string loginMachineName();

} // namespace ormex::host
