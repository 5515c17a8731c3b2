#include "SchemaUpgrade.h"

#include "PgSchema.h"
#include "Schema.h"
#include "platform/Clock.h"
#include "platform/Text.h"
#include "sql/SqliteStatement.h"

namespace ormex::db {

namespace {

std::string versionText(int version)
{
    return version == 0 ? "0（建立时尚未记录版本）" : std::to_string(version);
}

std::string versionMessage(const std::string& location, int version, int buildVersion)
{
    const std::string shown = withoutPassword(location);
    const std::string start = "数据库 " + shown + " 的结构版本为 " + versionText(version) + "，";
    if (version > buildVersion)
        return start + "比本程序的结构版本 " + std::to_string(buildVersion) +
               " 新，本程序不能使用它：请安装新版本的程序。";
    return start + "比本程序的结构版本 " + std::to_string(buildVersion) +
           " 旧：请由管理员先运行 ormex-db upgrade " + shown + " 升级数据库。";
}

int lastVersion(const std::vector<SchemaStep>& steps)
{
    return steps.empty() ? 0 : steps.back().version;
}

// The failure of a step, naming it and the version the database stays at.
DbError stepFailed(const SchemaStep& step, int stays, const std::exception& error)
{
    return DbError("the step to version " + std::to_string(step.version) + " (" +
                   std::string(step.description) +
                   ") failed, nothing of it was kept and the database stays at version " +
                   std::to_string(stays) + ": " + error.what());
}

// The upgrade on either engine: `inTransaction(work)` runs work in one transaction that shuts out
// every other upgrade and commits it when work returns true.
template <typename Db, typename InTransaction, typename Apply>
SchemaUpgrade upgrade(Db& db, const std::string& location, const std::vector<SchemaStep>& steps,
                      InTransaction inTransaction, Apply apply)
{
    const auto before = schemaVersion(db);
    if (!before)
        throw DbError(location + " is not an OrmexCardManage database (run 'ormex-db create' first)");
    const int target = lastVersion(steps);
    if (*before > target) throw SchemaVersionError(location, *before, target);
    SchemaUpgrade result{*before, *before, {}};
    for (const SchemaStep& step : steps) {
        if (step.version <= result.to) continue;
        bool applied = false;
        try {
            inTransaction([&] {
                // Another connection may have gone on meanwhile.
                result.to = schemaVersion(db).value_or(0);
                if (result.to >= step.version) return false;
                apply(step);
                db.executeNative(schemaVersionRecord(step.version, step.description));
                applied = true;
                return true;
            });
        } catch (const std::exception& error) {
            throw stepFailed(step, result.to, error);
        }
        if (applied) {
            result.to = step.version;
            result.applied.push_back(&step);
        }
    }
    return result;
}

} // namespace

SchemaVersionError::SchemaVersionError(const std::string& location, int version, int buildVersion)
    : OpenError(versionMessage(location, version, buildVersion)), m_version(version),
      m_buildVersion(buildVersion)
{
}

std::optional<int> schemaVersion(Database& db)
{
    if (!hasSchema(db)) return std::nullopt;
    SqliteStatement recorded(db.handle(), "SELECT count(*) FROM sqlite_master WHERE type='table' AND "
                                          "name='t_SchemaVersion' COLLATE NOCASE");
    if (!recorded.step() || recorded.column(0).toInt() == 0) return 0;
    SqliteStatement version(db.handle(), "SELECT coalesce(max(FVersion), 0) FROM t_SchemaVersion");
    return version.step() ? static_cast<int>(version.column(0).toInt()) : 0;
}

std::optional<int> schemaVersion(PgDatabase& db)
{
    if (!hasSchema(db)) return std::nullopt;
    if (!db.queryNative("SELECT to_regclass('t_schemaversion') IS NOT NULL").field(0).toBool()) return 0;
    return static_cast<int>(
        db.queryNative("SELECT coalesce(max(fversion), 0) FROM t_schemaversion").field(0).toInt());
}

std::string schemaVersionRecord(int version, std::string_view description)
{
    return "INSERT INTO t_SchemaVersion (FVersion, FDescription, FDate) VALUES (" + std::to_string(version) +
           ", " + platform::quoted(description) + ", " + platform::quoted(platform::now().toString()) + ");";
}

SchemaUpgrade upgradeSchema(Database& db, const std::vector<SchemaStep>& steps)
{
    return upgrade(
        db, db.path(), steps,
        [&db](const auto& work) {
            // BEGIN IMMEDIATE: a second upgrade waits here, then finds the step applied.
            Database::Transaction transaction(db);
            if (work()) transaction.commit();
        },
        [&db](const SchemaStep& step) {
            if (step.onSqlite)
                step.onSqlite(db);
            else
                db.executeNative(step.sql);
        });
}

SchemaUpgrade upgradeSchema(PgDatabase& db, const std::vector<SchemaStep>& steps)
{
    return upgrade(
        db, db.location(), steps,
        [&db](const auto& work) {
            // The whole database, as a write that names nothing it changes: every other write of
            // the system (and a second upgrade) waits for the step, or the step for them.
            db.runExclusive([&work] { return work(); });
        },
        [&db](const SchemaStep& step) {
            if (step.onPostgres)
                step.onPostgres(db);
            else if (!step.sql.empty())
                db.executeNative(translateSchemaToPostgres(step.sql));
        });
}

SchemaUpgrade upgradeWhenOpened(Database& db)
{
    const auto version = schemaVersion(db);
    if (!version || *version == currentSchemaVersion()) return {};
    return upgradeSchema(db);
}

void requireCurrentSchema(PgDatabase& db, const std::string& location)
{
    const auto version = schemaVersion(db);
    if (version && *version != currentSchemaVersion())
        throw SchemaVersionError(location, *version, currentSchemaVersion());
}

} // namespace ormex::db
