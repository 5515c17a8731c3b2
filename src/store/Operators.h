#pragma once

#include <string>
#include <vector>

#include "platform/Recordset.h"
#include "sql/TsqlDatabase.h"

// The operators of a database and what they may do: users with salted password hashes (Argon2id,
// libsodium), roles, and the rights codes each role holds. Logging in counts failures: after
// kLoginAttempts wrong passwords in a row the user is locked for kLockMinutes. Every login, failed
// or not, and every refusal of a right leaves a row in the operation log.
namespace ormex::db {

struct RightInfo
{
    const char* code;
    const char* name; // the function, as the refusal names it
};
// Every rights code of the system, in order.
const std::vector<RightInfo>& rightsCatalogue();
// The function a code stands for; the code itself when it is unknown.
std::string rightName(const std::string& code);
// What the operator reads when a right is refused.
std::string rightRefusal(const std::string& code);

inline constexpr int kLoginAttempts = 3;
inline constexpr int kLockMinutes = 15;

// The roles every database starts with: 管理员 (admin, every right) and 收银员 (cashier, plain
// recharges only: none of the card, points or administration rights). The rights they are given
// are recorded as known to the database (t_KnownRight).
inline constexpr const char* kAdminRole = "admin";
inline constexpr const char* kCashierRole = "cashier";
void addStandardRoles(TsqlDatabase& db);

// Gives the standard roles, where the database has them, each right of the catalogue that the
// database has not known before, as a new database gives them, and records it as known. So an
// upgrade never locks the administrator out of a function that gained a right of its own, while a
// right an administrator took from a role later stays taken. Throws DbError (nothing changed).
void upgradeRights(TsqlDatabase& db);

// The demo's operators: admin (管理员) and cashier (收银员), both with kDemoPassword.
inline constexpr const char* kDemoPassword = "ormex-demo";
void addDemoOperators(TsqlDatabase& db);

// True when the database has at least one operator who can log in.
bool hasOperators(TsqlDatabase& db);

// Salted hash of a password, and its check. Throws DbError when hashing cannot be done.
std::string hashPassword(const std::string& password);
bool passwordMatches(const std::string& hash, const std::string& password);

struct LoginOutcome
{
    enum class Result { Ok, Refused, Locked, Disabled };
    Result result = Result::Refused;
    int userId = 0;
    std::string name;        // the user's name, when the login name is known
    std::string lockedUntil; // "yyyy-mm-dd hh:mm:ss" while locked
    int attemptsLeft = 0;    // before the lock, after a wrong password
    // What the login window tells the operator ("" for Ok).
    std::string message() const;
};

// Checks a login and writes its outcome: the user's failure count and lock, and a t_OperLog row
// (function "LOGIN") naming the machine. An unknown login name is refused like a wrong password.
LoginOutcome login(TsqlDatabase& db, const std::string& loginName, const std::string& password,
                   const std::string& machine);

// True when the user is active and their role holds the right.
bool hasRight(TsqlDatabase& db, int userId, const std::string& code);
// True when an active user's role holds the right.
bool someoneHolds(TsqlDatabase& db, const std::string& code);
// Writes the refusal of a right to the operation log (the item the operation was for, if any).
void logRefusedRight(TsqlDatabase& db, int userId, const std::string& code, const std::string& item,
                     const std::string& machine);

// Administration (ormex-db user). Each throws DbError with the reason and changes nothing when it
// cannot be done: a login that exists or does not, an unknown role or rights code, an empty
// password.
void addUser(TsqlDatabase& db, const std::string& loginName, const std::string& name, const std::string& role,
             const std::string& password);
// Sets a new password; the user's failures and lock are cleared.
void setPassword(TsqlDatabase& db, const std::string& loginName, const std::string& password);
// Gives a role the rights (made when the role is new), or takes them away.
void grantRights(TsqlDatabase& db, const std::string& role, const std::vector<std::string>& codes,
                 bool revoke = false);
// Every user: login, name, role, rights, locked until.
platform::Recordset listUsers(TsqlDatabase& db);

} // namespace ormex::db
