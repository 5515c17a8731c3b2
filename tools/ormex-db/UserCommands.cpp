#include "UserCommands.h"

#include <functional>
#include <optional>
#include <ostream>

#include "CommandSupport.h"
#include "TablePrinter.h"
#include "platform/Text.h"
#include "store/OperLog.h"

namespace ormex::tools {

namespace {

// Makes the change and its t_OperLog row in one transaction.
void logged(db::TsqlDatabase& database, const std::optional<db::LoginOutcome>& who, const std::string& login,
            const std::string& what, const std::function<void()>& change)
{
    db::OperLogRow row;
    row.userId = who ? who->userId : 0;
    row.functionId = "USER";
    row.type = 1;
    row.description =
        what + "；操作员：" + (who ? login + "（" + who->name + "）" : "无（数据库尚无管理员）");
    row.machineName = "ormex-db";
    const auto write = database.beginWrite();
    change();
    database.execute(db::operLogStatement(row));
    write->commit();
}

} // namespace

int userCommand(const std::vector<std::string>& a, const std::string& user, std::ostream& out,
                std::ostream& notes, std::chrono::milliseconds deadline)
{
    const std::string verb = a.size() > 1 ? a[1] : "";
    if (a.size() < 3 || !(verb == "list" || verb == "add" || verb == "passwd" || verb == "grant"))
        throw UsageError("user needs: add|passwd|grant|list <db> ...");
    std::vector<std::string> rest(a.begin() + 2, a.end()); // <db> and what follows
    const std::string role = verb == "add" ? takeOption(rest, "--role") : "";
    const std::string name = verb == "add" ? takeOption(rest, "--name") : "";
    if (verb == "list" && rest.size() != 1) throw UsageError("user list takes <db>");
    if (verb == "add" && (role.empty() || rest.size() != 2))
        throw UsageError("user add takes <db> <login> --role <role> [--name <name>]");
    if (verb == "passwd" && rest.size() != 2) throw UsageError("user passwd takes <db> <login>");
    if (verb == "grant" && rest.size() < 3)
        throw UsageError("user grant takes <db> <role> <code>... [--revoke]");

    std::unique_ptr<db::TsqlDatabase> database;
    if (db::isPostgresUrl(rest[0]))
        database = openExistingPg(rest[0], deadline);
    else
        database = openExisting(rest[0], notes);
    if (verb == "list") {
        printTable(out, db::listUsers(*database));
        return 0;
    }
    const std::optional<db::LoginOutcome> who = actAsAdministrator(*database, user);
    if (verb == "add") {
        const std::string login = rest[1];
        const std::string password = askNewPassword("new password of " + login + ": ", who.has_value());
        logged(*database, who, user, "新增用户【" + login + "】，角色【" + role + "】",
               [&] { db::addUser(*database, login, name, role, password); });
        out << "added " << login << '\n';
    } else if (verb == "passwd") {
        const std::string login = rest[1];
        const std::string password = askNewPassword("new password of " + login + ": ", who.has_value());
        logged(*database, who, user, "修改用户【" + login + "】的密码",
               [&] { db::setPassword(*database, login, password); });
        out << "changed the password of " << login << '\n';
    } else {
        std::vector<std::string> codes(rest.begin() + 2, rest.end());
        const bool revoke = std::erase(codes, std::string("--revoke")) > 0;
        const std::string& target = rest[1];
        logged(*database, who, user,
               "角色【" + target + "】" + (revoke ? "收回权限 " : "授予权限 ") + platform::join(codes, " "),
               [&] { db::grantRights(*database, target, codes, revoke); });
        out << (revoke ? "revoked " : "granted ") << codes.size() << " right(s) "
            << (revoke ? "from " : "to ") << target << '\n';
    }
    return 0;
}

} // namespace ormex::tools
