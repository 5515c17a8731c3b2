// Logging in: the operator the session is, three wrong passwords locking the user for a while,
// every attempt in the log; and the launcher refusing a function the user has no right to.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <cstdlib>

#include "host/ui/LauncherWindow.h"
#include "host/ui/LoginDialog.h"
#include "host/ui/ModuleLoader.h"
#include "store/Operators.h"
#include "support/TestHost.h"

using namespace ormex;

namespace {

class Login
{
public:
    Login() { db::addUser(host.branch().db(), "wang", "王芳", db::kCashierRole, "secret-1"); }

    // Types a password and presses 登录; the message shown ("" when the login went through).
    std::string attempt(const char* password)
    {
        dialog.findChild<QLineEdit*>("txtPassword")->setText(QString::fromUtf8(password));
        dialog.findChild<QPushButton*>("cmdLogin")->click();
        return dialog.findChild<QLabel*>("lblMessage")->text().toStdString();
    }
    std::vector<std::string> log()
    {
        return host.branch().rows("select FUserID, FDescription from t_OperLog");
    }

    test::TestHost host;
    host::LoginDialog dialog{host.config().databasePath(), "wang"};
};

} // namespace

TEST(LoginWindow, TheRightPasswordLogsTheOperatorIn)
{
    Login t;
    if (const char* folder = std::getenv("ORMEX_SHOTS")) {
        t.dialog.show();
        t.dialog.grab().save(QString::fromUtf8(folder) + "/login.png");
    }
    EXPECT_EQ(t.dialog.findChild<QLineEdit*>("txtUser")->text(), "wang") << "offered";
    EXPECT_EQ(t.attempt("secret-1"), "");
    ASSERT_TRUE(t.dialog.outcome());
    EXPECT_EQ(t.dialog.outcome()->name, "王芳");
    EXPECT_EQ(t.dialog.result(), QDialog::Accepted);
    EXPECT_EQ(t.log(), std::vector<std::string>{std::to_string(t.dialog.outcome()->userId) +
                                                "|登录成功：用户【wang】"});
}

TEST(LoginWindow, ThreeWrongPasswordsLockTheUserForAWhile)
{
    Login t;
    EXPECT_EQ(t.attempt("secret-2"), "用户名或密码错误！再输错2次，该用户将被锁定15分钟。");
    EXPECT_EQ(t.attempt(""), "用户名或密码错误！再输错1次，该用户将被锁定15分钟。");
    EXPECT_EQ(t.attempt("SECRET-1"),
              "用户【王芳】因密码连续输错3次已被锁定至2026-11-23 10:45，请稍后再试或与系统管理员联系！");
    EXPECT_NE(t.attempt("secret-1"), "") << "locked: the right password does not open either";
    EXPECT_FALSE(t.dialog.outcome());
    t.host.clock().set({{2026, 11, 23}, 10, 45, 1});
    EXPECT_EQ(t.attempt("secret-1"), "") << "the lock has passed";
    const auto log = t.log();
    ASSERT_EQ(log.size(), 5u);
    EXPECT_NE(log[2].find("密码连续输错3次，锁定至2026-11-23 10:45:00"), std::string::npos) << log[2];
    EXPECT_NE(log[3].find("登录被拒绝"), std::string::npos) << log[3];

    // A name nobody has is refused the same way, and logged without a user.
    t.dialog.findChild<QLineEdit*>("txtUser")->setText("nobody");
    EXPECT_EQ(t.attempt("secret-1"), "用户名或密码错误！");
    EXPECT_EQ(t.log().back(), "0|登录失败：无此用户【nobody】");
}

TEST(LoginWindow, TheLauncherRefusesWhatTheUserHasNoRightTo)
{
    test::TestHost host({.role = db::kCashierRole});
    host::ModuleLoader loader(ORMEX_MODULE_LIBRARY);
    host::LauncherWindow launcher(host.runtime(), loader);
    launcher.openFunction(2);
    launcher.findChild<QPushButton*>("openLiabilityReport")->click();
    EXPECT_EQ(host.messages().texts(),
              (std::vector<std::string>{db::rightRefusal("hy0009"), db::rightRefusal("hy0011")}));
    EXPECT_EQ(host.branch().rows("select FDescription from t_OperLog"),
              (std::vector<std::string>{"权限不足，拒绝【会员设置】（hy0009）",
                                        "权限不足，拒绝【负债报表】（hy0011）"}));
}
