#include "OutboxCommands.h"

#include <ostream>

#include "CommandSupport.h"
#include "TablePrinter.h"
#include "platform/Text.h"
#include "sql/DbError.h"
#include "store/HqOutbox.h"
#include "store/Reconciliation.h"

namespace ormex::tools {

namespace {

constexpr const char* kHandleHeld = "hy0017";

long long changeNumber(const std::string& text)
{
    if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError("the number of a queued change is a whole number, not '" + text + "'");
    return std::stoll(text);
}

platform::Recordset queueTable(const std::vector<db::QueuedChange>& changes)
{
    std::vector<std::vector<platform::Value>> rows;
    for (const db::QueuedChange& c : changes)
        rows.push_back({c.seq, c.date, c.operationName, c.held ? "总部拒收" : "待上传", c.refusals,
                        platform::join(c.cards, " "), c.heldDate, c.lastError});
    return platform::Recordset({"序号", "日期", "操作", "状态", "拒收次数", "卡号", "搁置日期", "错误"},
                               std::move(rows));
}

} // namespace

int outboxCommand(const std::vector<std::string>& a, const std::string& user, std::ostream& out,
                  std::ostream& notes)
{
    const std::string verb = a.size() > 1 ? a[1] : "";
    const bool list = verb == "list" && a.size() == 3;
    if (!list && !((verb == "retry" || verb == "discard") && a.size() == 4))
        throw UsageError("outbox needs: list <db> | retry <db> <number> | discard <db> <number>");
    auto database = openExisting(a[2], notes);
    if (list) {
        const auto changes = db::queuedChanges(*database);
        printTable(out, queueTable(changes));
        long held = 0;
        for (const db::QueuedChange& c : changes)
            held += c.held ? 1 : 0;
        out << changes.size() - static_cast<std::size_t>(held) << " change(s) waiting, " << held
            << " held (refused by headquarters)\n";
        return 0;
    }
    const long long seq = changeNumber(a[3]);
    const db::LoginOutcome who = actAs(*database, user, kHandleHeld);
    const db::OutboxOperator by{who.userId, who.name, "ormex-db"};
    if (verb == "retry") {
        db::retryHeldChange(*database, seq, by);
        out << "change " << seq
            << " is back in line: the branch sends it with its next upload to headquarters\n";
    } else {
        db::discardHeldChange(*database, seq, by);
        out << "discarded change " << seq
            << ": headquarters will never receive it; 'ormex-db reconcile' lists the cards it touched "
               "until they are settled by hand\n";
    }
    return 0;
}

int reconcileCommand(const std::vector<std::string>& a, std::chrono::milliseconds deadline, std::ostream& out,
                     std::ostream& notes)
{
    const bool csv = a.size() == 4 && a[3] == "--csv";
    if (a.size() != 3 && !csv) throw UsageError("reconcile takes <branch-db> <headquarters> [--csv]");
    auto branch = openExisting(a[1], notes);
    std::unique_ptr<db::TsqlDatabase> headquarters;
    if (db::isPostgresUrl(a[2]))
        headquarters = openExistingPg(a[2], deadline);
    else
        headquarters = openExisting(a[2], notes);
    const db::Reconciliation result = db::reconcile(*branch, *headquarters);
    const platform::Recordset table = db::differencesTable(result);
    if (csv)
        printCsv(out, "分店与总部不一致的会员卡", table);
    else if (!result.differences.empty())
        printTable(out, table);
    // The summary is not part of the CSV.
    (csv ? notes : out) << "compared " << result.cardsCompared << " card(s) of " << a[1] << " with "
                        << shown(a[2]) << ": " << result.differences.size() << " differ, "
                        << result.unexplained() << " unexplained\n";
    return result.unexplained() > 0 ? 1 : 0;
}

} // namespace ormex::tools
