#include "BackupCommands.h"

#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <optional>
#include <ostream>

#include "CommandSupport.h"
#include "OutboxCommands.h"
#include "platform/Text.h"
#include "sql/DbError.h"
#include "store/BackupCheck.h"
#include "store/DatabaseCopy.h"
#include "store/OperLog.h"

namespace ormex::tools {

namespace {

namespace fs = std::filesystem;

// The temporary files of a copy, removed however the command ends.
class TemporaryCopy
{
public:
    TemporaryCopy(const std::string& beside, const std::string& purpose)
        : m_path(db::newFileBeside(beside, purpose))
    {
    }
    ~TemporaryCopy() { db::removeDatabaseFiles(m_path); }
    TemporaryCopy(const TemporaryCopy&) = delete;
    TemporaryCopy& operator=(const TemporaryCopy&) = delete;
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

// When the file was last written, local time ("yyyy-mm-dd hh:mm:ss"): the date of a backup.
std::string fileDate(const std::string& path)
{
    struct stat info
    {
    };
    std::tm local{};
    char text[20] = "";
    if (stat(path.c_str(), &info) == 0 && localtime_r(&info.st_mtime, &local))
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string refusal(const std::string& file, const std::vector<std::string>& findings)
{
    std::string text = file + " is not restored, nothing was changed:";
    for (const std::string& finding : findings)
        text += "\n  " + finding;
    return text;
}

// The log row of the restore, written into the copy so that it arrives with it. The operator logged
// in to the database being replaced; the copy names them by their login.
void logRestore(db::Database& copy, const std::string& login, const std::string& name,
                const std::string& file, const std::string& date)
{
    db::OperLogRow row;
    const auto user = copy.query("select FUserID from t_User where FLogin=" + platform::quoted(login));
    row.userId = user.atEnd() ? 0 : static_cast<int>(user.field("FUserID").toInt());
    row.functionId = "RESTORE";
    row.type = 1;
    row.description =
        "从备份【" + file + "】（文件日期 " + date + "）恢复数据库；操作员：" + login + "（" + name + "）";
    row.machineName = "ormex-db";
    copy.execute(db::operLogStatement(row));
}

// True when the database is a branch whose settings name a headquarters.
bool namesHeadquarters(db::Database& database)
{
    return database
               .query("select count(*) as n from t_SystemProfile where (FCategory='ic' and FKey='is_branch' "
                      "and FValue='1') or (FCategory='VIP' and FKey='PosSavingServerDb' and FValue<>'')")
               .field("n")
               .toInt() == 2;
}

// Compares the restored branch with headquarters: 0 when they agree or what differs is explained.
int compareWithHeadquarters(const std::string& target, const RestoreOptions& options, std::ostream& out,
                            std::ostream& notes)
{
    int compared = 0;
    try {
        compared =
            reconcileCommand({"reconcile", target, options.headquarters}, options.deadline, out, notes);
    } catch (const std::exception& error) {
        notes << "ormex-db: warning: restored, but not compared with headquarters "
              << shown(options.headquarters) << ": " << error.what() << "\n";
        return 3;
    }
    if (compared == 0) return 0;
    notes << "ormex-db: warning: restored, but the cards above differ from headquarters and nothing "
             "queued explains it: changes made since the backup are missing at one end; settle them "
             "before the tills go on\n";
    return 3;
}

} // namespace

int backupCommand(const std::vector<std::string>& a, std::ostream& out, std::ostream& notes)
{
    if (a.size() != 3) throw UsageError("backup takes <db> <file>");
    const std::string& file = a[2];
    if (fs::exists(file)) throw db::DbError(file + " exists already: a backup never overwrites a file");
    auto database = openExisting(a[1], notes);
    const TemporaryCopy copy(file, "partial");
    const long cards = db::copyDatabaseTo(*database, copy.path());
    db::publishFile(copy.path(), file);
    out << "backed up " << a[1] << " to " << file << ": " << cards << " card(s)\n"
        << "The seal key is not in the copy: keep a copy of the seal-key of host.conf apart from the "
           "backups; without it a backup can be neither checked nor written.\n";
    return 0;
}

int restoreCommand(const std::vector<std::string>& a, const RestoreOptions& options, std::ostream& out,
                   std::ostream& notes)
{
    if (a.size() != 3) throw UsageError("restore takes <file> <db> --user <login> [--hq <headquarters>]");
    const std::string& file = a[1];
    const std::string& target = a[2];
    requireOperator(options.user, kAdminWrites);
    if (!fs::is_regular_file(file)) throw db::DbError("there is no backup " + file);
    // The operator logs in to the database being replaced, or to the copy when there is none any
    // more (it was lost, or moved aside because it was damaged).
    const bool replacing = fs::exists(target);
    std::optional<db::LoginOutcome> who;
    if (replacing) {
        who = actAs(*openExisting(target, notes), options.user, kAdminWrites);
    } else {
        for (const char* left : {"-wal", "-shm"})
            if (fs::exists(target + left))
                throw db::DbError(target + left + " is left from the database that was at " + target +
                                  ": move it away with that database, or it would be read as part of the "
                                  "restored one");
    }

    // The backup itself is only read: the copy beside the target is checked, logged and moved in.
    const TemporaryCopy copy(target, "restoring");
    db::copyDatabaseFile(file, copy.path());
    const std::vector<std::string> findings = db::checkBackup(copy.path(), options.key);
    if (!findings.empty()) throw db::DbError(refusal(file, findings));
    const std::string date = fileDate(file);
    const std::string source = fs::absolute(file).lexically_normal().string();
    long cards = 0;
    {
        auto restored = db::Database::open(copy.path());
        if (!who) who = actAs(*restored, options.user, kAdminWrites);
        logRestore(*restored, options.user, who->name, source, date);
        cards = static_cast<long>(
            restored->query("select count(*) as n from T_Pos_VipRecord").field("n").toInt());
        // One file again, that is read without anything written beside it.
        restored->executeNative("PRAGMA journal_mode=DELETE");
    }
    if (replacing) {
        // Copied into the database through SQLite rather than renamed over it: the tills that have
        // it open keep their connections and write-ahead log, and see the restored database from
        // their next transaction on; a file renamed over theirs would take their later writes to
        // the old file, and their log would be read into the new one.
        auto database = db::Database::open(target);
        db::copyDatabaseInto(copy.path(), *database);
    } else {
        db::publishFile(copy.path(), target);
    }
    out << "restored " << target << " from " << source << " (dated " << date << "): " << cards
        << " card(s), each matching its seal; logged for " << options.user << "\n";

    if (!options.headquarters.empty()) return compareWithHeadquarters(target, options, out, notes);
    if (namesHeadquarters(*db::Database::open(target)))
        out << "This branch names a headquarters: compare them with 'ormex-db reconcile " << target
            << " <headquarters>' before the tills go on.\n";
    return 0;
}

} // namespace ormex::tools
