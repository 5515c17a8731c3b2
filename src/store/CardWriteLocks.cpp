#include "CardWriteLocks.h"

#include <string>
#include <string_view>

#include "platform/Text.h"
#include "sql/DbError.h"
#include "sql/StatementFootprint.h"
#include "sql/TsqlLexer.h"

namespace ormex::db {

namespace {

// Tables whose rows belong to one card each.
bool isCardTable(std::string_view table)
{
    return table == "t_pos_viprecord" || table == "t_pos_vipconsume" || table == "t_pos_vipgiftlist" ||
           table == "t_pos_addmoneylist" || table == "t_branchledgerhead";
}

// Card tables whose new rows a batch only adds for a card it names in the condition before: a
// card's totals at a branch, the head of a card's ledger at a branch.
bool isPerCardRecord(std::string_view table)
{
    return table == "t_pos_vipconsume" || table == "t_branchledgerhead";
}

// Tables that writes only ever append to: their new rows meet no other write's.
bool isAppendOnly(std::string_view table)
{
    return table == "t_pos_vipgiftlist" || table == "t_pos_addmoneylist" || table == "t_log" ||
           table == "t_operlog" || table == "t_hqreplay" || table == "t_pos_vippointclear";
}

// A card number as a literal of the batch writes it: without its quotes and trailing blanks.
std::string cardNumber(std::string_view literal)
{
    std::string card(literal.substr(1, literal.size() - 2));
    for (std::size_t at = card.find("''"); at != std::string::npos; at = card.find("''", at + 1))
        card.erase(at, 1);
    return platform::trimRight(card);
}

// Adds the cards a statement names to `cards`; false when it names none.
bool addCardsNamed(const std::vector<Token>& tokens, std::vector<std::string>& cards)
{
    const std::size_t before = cards.size();
    for (std::size_t i = 0; i + 2 < tokens.size(); ++i) {
        if (!tokens[i].isWord("fcardid")) continue;
        if (tokens[i + 1].isSymbol("=") && tokens[i + 2].kind == Token::Kind::String) {
            cards.push_back(cardNumber(tokens[i + 2].text));
        } else if (tokens[i + 1].isWord("in") && tokens[i + 2].isSymbol("(")) {
            for (std::size_t k = i + 3; k < tokens.size() && !tokens[k].isSymbol(")"); ++k)
                if (tokens[k].kind == Token::Kind::String) cards.push_back(cardNumber(tokens[k].text));
        }
    }
    return cards.size() > before;
}

} // namespace

WriteLocks cardWriteLocks(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks)
{
    WriteLocks locks;
    locks.rows.table = "T_Pos_VipRecord";
    locks.rows.column = "FCardId";
    std::vector<std::string>& cards = locks.rows.values;
    bool cardsNamed = false;
    bool addsTotals = false; // the batch creates a card's totals row
    try {
        for (const platform::ReadCheck& check : checks)
            cardsNamed = addCardsNamed(tokenize(check.sql), cards) || cardsNamed;
        for (const Step& step : program.steps) {
            if (step.kind == Step::Kind::SetValue || step.kind == Step::Kind::Jump) continue;
            const std::string_view statement = program.text.substr(step.textAt, step.textLength);
            const std::vector<Token> tokens = tokenize(statement);
            const bool names = addCardsNamed(tokens, cards);
            cardsNamed = cardsNamed || names;
            if (step.kind != Step::Kind::Run || tokens.empty()) continue;
            const bool inserts = tokens.front().isWord("insert");
            for (const std::string& table : footprintOfText(statement).writes) {
                if (inserts && isAppendOnly(table)) continue;
                if (inserts && isPerCardRecord(table)) {
                    // Its card is the one the condition before it asked about.
                    addsTotals = true;
                } else if (isCardTable(table)) {
                    // New cards, or card rows chosen otherwise than by number.
                    if (inserts || !names) locks.whole = true;
                } else {
                    locks.keys.push_back("table:" + table);
                }
            }
        }
    } catch (const DbError&) {
        locks.whole = true; // what cannot be read cannot be told apart
    }
    if (addsTotals && !cardsNamed) locks.whole = true;
    if (locks.whole) {
        locks.keys.clear();
        cards.clear();
    }
    return locks;
}

} // namespace ormex::db
