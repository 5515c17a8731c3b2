#pragma once

#include <string>

#include "platform/DateTime.h"
#include "platform/Money.h"
#include "sql/Database.h"
#include "sql/SqliteStatement.h"

// The rows that explain what a demo card holds. A card starts with nothing: its balance is its
// issue amount ('初始金额', encoded as the card import writes it) plus its recharges and the stored
// value its points were turned into; its points are its rewards less what it spent (a deduction,
// a gift exchange, a conversion or a clearing); and its totals row at the branch where that
// happened holds the same sums. Every row lies between the card's issue and today.
namespace ormex::db {

struct DemoHoldings
{
    int number = 0; // the card's place in the demo (1, 2, …): which kinds of rows it gets
    std::string card, type, branchNo;
    platform::Date issued;
    bool saving = false;
    platform::Money balance;
    double accumulated = 0; // FAccNum
    double used = 0;        // FDecNum
};

class DemoMovements
{
public:
    explicit DemoMovements(Database& db);

    // The amount the card was issued with: what was paid in, up to 100 yuan.
    static platform::Money issueAmount(const DemoHoldings& card);
    // Writes the rows of one card. Throws DbError.
    void write(const DemoHoldings& card);

private:
    struct Branch
    {
        int id;
        std::string number;
    };
    void money(const DemoHoldings& card, const Branch& branch, const std::string& when, const char* memo,
               platform::Money amount, platform::Money& balance);
    void points(const DemoHoldings& card, const Branch& branch, const std::string& when, int flag,
                double points, const char* memo, platform::Money storedValue = {}, int item = 0);

    SqliteStatement m_money, m_points, m_totals;
};

} // namespace ormex::db
