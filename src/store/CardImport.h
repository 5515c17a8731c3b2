#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "sql/Database.h"

// Member cards of a company moving onto the system, from a CSV file: a header line, then one card
// a line with the columns card number, face number, name, mobile, card type code, end date
// (yyyy-mm-dd), opening balance and opening points. A line either creates a card or puts an
// unused card of the database (status '9' with no money or points rows) in use with its opening
// values.
//
// The whole file is checked before anything is written; a file with a bad line writes nothing.
// A good file is written in one transaction: the card rows (status normal), the initial amount row
// ('初始金额') of every card with a balance and the opening points row of every card with points. A card
// imported once is in use, so the same file imported again is refused line by line.
namespace ormex::db {

inline constexpr std::size_t kCardImportColumns = 8;

// A line of the file that cannot be imported and why, as the operator reads it.
struct CardImportProblem
{
    int line = 0;
    std::string reason;
    std::string text() const; // "第3行：卡类别【09】不存在"
};

// A card as it will be written.
struct ImportedCard
{
    int line = 0;
    std::string cardId, faceNumber, name, mobile;
    std::string typeId;  // as the card type table writes it
    std::string endDate; // yyyy-mm-dd or empty
    double balance = 0;
    double points = 0;
    bool saving = false;      // the type's FSavingFlag
    bool accumulates = false; // the type's FAccFlag
    bool unused = false;      // an unused card of the database put in use; otherwise a new card
};

struct CardImportPlan
{
    std::vector<ImportedCard> cards;
    std::vector<CardImportProblem> problems; // in line order

    bool ok() const { return problems.empty(); }
    // "3 cards (2 new, 1 unused card put in use); 2 opening balances, 150.5 in all; 1 with opening
    // points, 300 in all"
    std::string summary() const;
};

// Who writes the rows: the operator and branch columns of the card, money and points rows.
struct CardImportSession
{
    int userId = 1;                  // the administrator, user 1
    std::string userName = "管理员"; // FUserName of the card, shown as its operator
    long long branchId = 0;          // Fbranchid of the money and points rows; 0 when not known
    // FBranchno of the rows; empty: the database's own branch number (ic / g_branch_no)
    std::string branchNo;
};

// Reads and checks the whole file against the database; writes nothing.
CardImportPlan planCardImport(Database& db, std::string_view csv);

// Writes a plan that has no problem, in one transaction (a savepoint inside the caller's).
// Throws DbError, with nothing written, when a card changed since the plan was made.
void writeCardImport(Database& db, const CardImportPlan& plan, const CardImportSession& session = {});

// Plans the file and, when no line is bad and `dryRun` is false, writes it. Checking and writing
// share one transaction, so no other connection uses a card in between. Throws DbError.
CardImportPlan importCards(Database& db, std::string_view csv, bool dryRun = false,
                           const CardImportSession& session = {});

} // namespace ormex::db
