#include "Operators.h"

#include <sodium.h>

#include <map>
#include <set>

#include "OperLog.h"
#include "platform/Clock.h"
#include "platform/Text.h"
#include "sql/DbError.h"

namespace ormex::db {

namespace {

using platform::quoted;

void ensureSodium()
{
    static const bool ready = sodium_init() >= 0;
    if (!ready) throw DbError("libsodium cannot be initialised");
}

platform::DateTime minutesLater(const platform::DateTime& at, int minutes)
{
    const long total = (at.date.daysSinceEpoch() * 24 + at.hour) * 60 + at.minute + minutes;
    return {platform::Date::fromDaysSinceEpoch(total / (24 * 60)), static_cast<int>(total / 60 % 24),
            static_cast<int>(total % 60), at.second};
}

std::string loginLog(int userId, const std::string& description, const std::string& machine)
{
    OperLogRow row;
    row.userId = userId;
    row.functionId = "LOGIN";
    row.description = description;
    row.machineName = machine;
    return operLogStatement(row);
}

// The role named by its id or its name; "" when there is none.
std::string roleId(TsqlDatabase& db, const std::string& role)
{
    const auto rs =
        db.query("select FRoleId from t_Role where FRoleId=" + quoted(role) + " or FName=" + quoted(role));
    return rs.atEnd() ? std::string() : rs.field("FRoleId").toString();
}

void needPassword(const std::string& password)
{
    if (password.empty()) throw DbError("the password must not be empty");
}

// The rights every database had before it recorded the rights it knows (hy0001–hy0013).
constexpr std::size_t kFirstRights = 13;

// The rights a standard role starts with: the administrator every right, the cashier plain
// recharges.
bool standardRoleHolds(const std::string& role, const std::string& code)
{
    return role == kAdminRole || (role == kCashierRole && code == "hy0014");
}

// Records a right as known to the database: its standard roles have been given it once.
std::string knownRightStatement(const std::string& code)
{
    return "If Not Exists(select 1 from t_KnownRight where FRightCode='" + code +
           "')\r\n insert into t_KnownRight (FRightCode) values ('" + code + "')\r\n";
}

} // namespace

const std::vector<RightInfo>& rightsCatalogue()
{
    static const std::vector<RightInfo> rights = {
        {"hy0001", "会员卡挂失"},
        {"hy0002", "会员卡恢复"},
        {"hy0003", "会员卡延期"},
        {"hy0004", "会员卡换卡"},
        {"hy0005", "会员卡作废"},
        {"hy0006", "设置会员卡密码"},
        {"hy0007", "礼品兑换"},
        {"hy0008", "积分奖励、冲减和清零"},
        {"hy0009", "会员设置"},
        {"hy0010", "会员档案审核"},
        {"hy0011", "负债报表"},
        {"hy0012", "导入会员卡"},
        {"hy0013", "确认被改动的会员卡"},
        {"hy0014", "会员卡充值"},
        {"hy0015", "会员卡负数充值（扣减余额）"},
        {"hy0016", "积分转储值"},
        {"hy0017", "处理总部拒收的变更"},
        {"hy0018", "管理命令写入数据库"},
    };
    return rights;
}

std::string rightName(const std::string& code)
{
    for (const RightInfo& right : rightsCatalogue())
        if (platform::iequals(code, right.code)) return right.name;
    return code;
}

std::string rightRefusal(const std::string& code)
{
    return "您没有【" + rightName(code) + "】的权限，不能进行该操作，请与系统管理员联系！";
}

void addStandardRoles(TsqlDatabase& db)
{
    std::string batch = "If Not Exists(select 1 from t_Role where FRoleId='admin')\r\n"
                        " insert into t_Role (FRoleId, FName) values ('admin', '管理员')\r\n"
                        "If Not Exists(select 1 from t_Role where FRoleId='cashier')\r\n"
                        " insert into t_Role (FRoleId, FName) values ('cashier', '收银员')\r\n";
    for (const RightInfo& right : rightsCatalogue()) {
        for (const char* role : {kAdminRole, kCashierRole})
            if (standardRoleHolds(role, right.code))
                batch += "If Not Exists(select 1 from t_RoleRight where FRoleId='" + std::string(role) +
                         "' and FRightCode='" + right.code +
                         "')\r\n insert into t_RoleRight (FRoleId, FRightCode) values ('" + role + "', '" +
                         right.code + "')\r\n";
        batch += knownRightStatement(right.code);
    }
    db.execute(batch);
}

void upgradeRights(TsqlDatabase& db)
{
    const auto& rights = rightsCatalogue();
    std::set<std::string> known;
    const auto recorded = db.query("select FRightCode from t_KnownRight");
    for (std::size_t r = 0; r < recorded.recordCount(); ++r)
        known.insert(platform::toLowerAscii(recorded.at(r, "FRightCode").toString()));
    std::string batch;
    // Nothing recorded: the database was made before the record, with the first rights.
    if (known.empty())
        for (std::size_t i = 0; i < kFirstRights; ++i) {
            known.insert(rights[i].code);
            batch += knownRightStatement(rights[i].code);
        }
    for (const RightInfo& right : rights) {
        if (known.contains(right.code)) continue;
        for (const char* role : {kAdminRole, kCashierRole})
            if (standardRoleHolds(role, right.code))
                batch += "insert into t_RoleRight (FRoleId, FRightCode) select FRoleId, '" +
                         std::string(right.code) + "' from t_Role where FRoleId='" + role +
                         "' and FRoleId not in (select FRoleId from t_RoleRight where FRightCode='" +
                         right.code + "')\r\n";
        batch += knownRightStatement(right.code);
    }
    if (!batch.empty()) db.execute(batch);
}

void addDemoOperators(TsqlDatabase& db)
{
    addStandardRoles(db);
    addUser(db, "admin", "管理员", kAdminRole, kDemoPassword);
    addUser(db, "cashier", "收银员", kCashierRole, kDemoPassword);
}

bool hasOperators(TsqlDatabase& db)
{
    return db.query("select count(*) as n from t_User where FDisabled=0").field("n").toInt() > 0;
}

std::string hashPassword(const std::string& password)
{
    ensureSodium();
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        throw DbError("the password could not be hashed (out of memory)");
    return hash;
}

bool passwordMatches(const std::string& hash, const std::string& password)
{
    ensureSodium();
    return hash.size() < crypto_pwhash_STRBYTES &&
           crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

std::string LoginOutcome::message() const
{
    switch (result) {
    case Result::Ok:
        return {};
    case Result::Locked:
        return "用户【" + name + "】因密码连续输错" + std::to_string(kLoginAttempts) + "次已被锁定至" +
               lockedUntil.substr(0, 16) + "，请稍后再试或与系统管理员联系！";
    case Result::Disabled:
        return "用户【" + name + "】已停用，请与系统管理员联系！";
    case Result::Refused:
        break;
    }
    std::string text = "用户名或密码错误！";
    if (attemptsLeft > 0 && attemptsLeft < kLoginAttempts)
        text += "再输错" + std::to_string(attemptsLeft) + "次，该用户将被锁定" +
                std::to_string(kLockMinutes) + "分钟。";
    return text;
}

LoginOutcome login(TsqlDatabase& db, const std::string& loginName, const std::string& password,
                   const std::string& machine)
{
    LoginOutcome outcome;
    const auto user =
        db.query("select FUserID, FName, FPasswordHash, FFailedLogins, FLockedUntil, FDisabled from "
                 "t_User where FLogin=" +
                 quoted(platform::trim(loginName)));
    const std::string shownLogin = platform::trim(loginName);
    if (user.atEnd()) {
        db.execute(loginLog(0, "登录失败：无此用户【" + shownLogin + "】", machine));
        return outcome;
    }
    outcome.userId = static_cast<int>(user.field("FUserID").toInt());
    outcome.name = user.field("FName").toString();
    const std::string id = std::to_string(outcome.userId);
    const platform::DateTime now = platform::now();
    const std::string lockedUntil = user.field("FLockedUntil").toString();
    if (user.field("FDisabled").toInt() != 0) {
        outcome.result = LoginOutcome::Result::Disabled;
        db.execute(loginLog(outcome.userId, "登录被拒绝：用户【" + shownLogin + "】已停用", machine));
        return outcome;
    }
    if (!lockedUntil.empty() && lockedUntil > now.toString()) {
        outcome.result = LoginOutcome::Result::Locked;
        outcome.lockedUntil = lockedUntil;
        db.execute(
            loginLog(outcome.userId, "登录被拒绝：用户【" + shownLogin + "】锁定至" + lockedUntil, machine));
        return outcome;
    }
    if (passwordMatches(user.field("FPasswordHash").toString(), password)) {
        outcome.result = LoginOutcome::Result::Ok;
        db.execute("update t_User set FFailedLogins=0, FLockedUntil=NULL where FUserID=" + id + "\r\n" +
                   loginLog(outcome.userId, "登录成功：用户【" + shownLogin + "】", machine));
        return outcome;
    }
    const long failures = user.field("FFailedLogins").toInt() + 1;
    if (failures >= kLoginAttempts) {
        outcome.result = LoginOutcome::Result::Locked;
        outcome.lockedUntil = minutesLater(now, kLockMinutes).toString();
        db.execute("update t_User set FFailedLogins=0, FLockedUntil=" + quoted(outcome.lockedUntil) +
                   " where FUserID=" + id + "\r\n" +
                   loginLog(outcome.userId,
                            "登录失败：用户【" + shownLogin + "】密码连续输错" + std::to_string(failures) +
                                "次，锁定至" + outcome.lockedUntil,
                            machine));
        return outcome;
    }
    outcome.attemptsLeft = static_cast<int>(kLoginAttempts - failures);
    db.execute(
        "update t_User set FFailedLogins=" + std::to_string(failures) + " where FUserID=" + id + "\r\n" +
        loginLog(outcome.userId,
                 "登录失败：用户【" + shownLogin + "】密码错误（第" + std::to_string(failures) + "次）",
                 machine));
    return outcome;
}

bool hasRight(TsqlDatabase& db, int userId, const std::string& code)
{
    return db.query("select count(*) as n from t_User u join t_RoleRight r on r.FRoleId=u.FRoleId where "
                    "u.FUserID=" +
                    std::to_string(userId) + " and u.FDisabled=0 and r.FRightCode=" + quoted(code))
               .field("n")
               .toInt() > 0;
}

bool someoneHolds(TsqlDatabase& db, const std::string& code)
{
    return db.query("select count(*) as n from t_User u join t_RoleRight r on r.FRoleId=u.FRoleId where "
                    "u.FDisabled=0 and r.FRightCode=" +
                    quoted(code))
               .field("n")
               .toInt() > 0;
}

void logRefusedRight(TsqlDatabase& db, int userId, const std::string& code, const std::string& item,
                     const std::string& machine)
{
    OperLogRow row;
    row.userId = userId;
    row.functionId = "RIGHT";
    row.description =
        "权限不足，拒绝【" + rightName(code) + "】（" + code + "）" + (item.empty() ? "" : "：" + item);
    row.machineName = machine;
    db.execute(operLogStatement(row));
}

void addUser(TsqlDatabase& db, const std::string& loginName, const std::string& name, const std::string& role,
             const std::string& password)
{
    const std::string login = platform::trim(loginName);
    if (login.empty()) throw DbError("the login name must not be empty");
    needPassword(password);
    const std::string id = roleId(db, role);
    if (id.empty()) throw DbError("there is no role '" + role + "'");
    if (db.query("select count(*) as n from t_User where FLogin=" + quoted(login)).field("n").toInt() > 0)
        throw DbError("the user '" + login + "' exists already");
    db.execute("insert into t_User (FLogin, FName, FPasswordHash, FRoleId) values (" + quoted(login) + ", " +
               quoted(name.empty() ? login : name) + ", " + quoted(hashPassword(password)) + ", " +
               quoted(id) + ")");
}

void setPassword(TsqlDatabase& db, const std::string& loginName, const std::string& password)
{
    needPassword(password);
    const std::string login = platform::trim(loginName);
    if (db.query("select count(*) as n from t_User where FLogin=" + quoted(login)).field("n").toInt() == 0)
        throw DbError("there is no user '" + login + "'");
    db.execute("update t_User set FPasswordHash=" + quoted(hashPassword(password)) +
               ", FFailedLogins=0, FLockedUntil=NULL where FLogin=" + quoted(login));
}

void grantRights(TsqlDatabase& db, const std::string& role, const std::vector<std::string>& codes,
                 bool revoke)
{
    if (codes.empty())
        throw DbError("name the rights codes to " + std::string(revoke ? "take away" : "grant"));
    for (const std::string& code : codes)
        if (rightName(code) == code) throw DbError("there is no right '" + code + "'");
    std::string id = roleId(db, role);
    std::string batch;
    if (id.empty()) {
        if (revoke) throw DbError("there is no role '" + role + "'");
        id = platform::trim(role);
        batch += "insert into t_Role (FRoleId, FName) values (" + quoted(id) + ", " + quoted(id) + ")\r\n";
    }
    for (const std::string& code : codes) {
        const std::string pair =
            "FRoleId=" + quoted(id) + " and FRightCode=" + quoted(platform::toLowerAscii(code));
        batch += revoke ? "delete from t_RoleRight where " + pair + "\r\n"
                        : "If Not Exists(select 1 from t_RoleRight where " + pair +
                              ")\r\n insert into t_RoleRight (FRoleId, FRightCode) values (" + quoted(id) +
                              ", " + quoted(platform::toLowerAscii(code)) + ")\r\n";
    }
    db.execute(batch);
}

platform::Recordset listUsers(TsqlDatabase& db)
{
    std::map<std::string, std::string> rights; // role → its codes
    const auto granted = db.query("select FRoleId, FRightCode from t_RoleRight order by FRoleId, FRightCode");
    for (std::size_t r = 0; r < granted.recordCount(); ++r) {
        std::string& list = rights[platform::toLowerAscii(granted.at(r, "FRoleId").toString())];
        list += (list.empty() ? "" : " ") + granted.at(r, "FRightCode").toString();
    }
    const auto users =
        db.query("select u.FLogin, u.FName, t.FName as FRoleName, u.FRoleId, u.FLockedUntil, "
                 "u.FDisabled from t_User u left join t_Role t on t.FRoleId=u.FRoleId order by u.FLogin");
    std::vector<std::vector<platform::Value>> rows;
    const std::string now = platform::now().toString();
    for (std::size_t r = 0; r < users.recordCount(); ++r) {
        const std::string locked = users.at(r, "FLockedUntil").toString();
        rows.push_back({users.at(r, "FLogin"), users.at(r, "FName"), users.at(r, "FRoleName"),
                        rights[platform::toLowerAscii(users.at(r, "FRoleId").toString())],
                        users.at(r, "FDisabled").toInt() ? std::string("停用")
                        : locked > now                   ? "锁定至" + locked
                                                         : std::string()});
    }
    return platform::Recordset({"用户", "姓名", "角色", "权限", "状态"}, std::move(rows));
}

} // namespace ormex::db
