#include "CardWriteLocks.h"

#include <string>
#include <string_view>

#include "DbError.h"
#include "StatementFootprint.h"
#include "TsqlLexer.h"
#include "platform/Text.h"

namespace ormex::db {

namespace {

// Tables whose rows belong to one card each.
bool isCardTable(std::string_view table)
{
    return table == "t_pos_viprecord" || table == "t_pos_vipconsume" || table == "t_pos_vipgiftlist" ||
           table == "t_pos_addmoneylist";
}

// Tables that writes only ever append to: their new rows meet no other write's.
bool isAppendOnly(std::string_view table)
{
    return table == "t_pos_vipgiftlist" || table == "t_pos_addmoneylist" || table == "t_log" ||
           table == "t_operlog" || table == "t_hqreplay" || table == "t_pos_vippointclear";
}

// A card as headquarters compares card numbers: without regard to ASCII case or trailing blanks.
std::string cardKey(std::string_view literal)
{
    std::string card(literal.substr(1, literal.size() - 2)); // without its quotes
    for (std::size_t at = card.find("''"); at != std::string::npos; at = card.find("''", at + 1))
        card.erase(at, 1);
    return "card:" + platform::toLowerAscii(platform::trimRight(card));
}

// Adds the cards a statement names to `keys`; false when it names none.
bool addCardsNamed(const std::vector<Token>& tokens, std::vector<std::string>& keys)
{
    const std::size_t before = keys.size();
    for (std::size_t i = 0; i + 2 < tokens.size(); ++i) {
        if (!tokens[i].isWord("fcardid")) continue;
        if (tokens[i + 1].isSymbol("=") && tokens[i + 2].kind == Token::Kind::String) {
            keys.push_back(cardKey(tokens[i + 2].text));
        } else if (tokens[i + 1].isWord("in") && tokens[i + 2].isSymbol("(")) {
            for (std::size_t k = i + 3; k < tokens.size() && !tokens[k].isSymbol(")"); ++k)
                if (tokens[k].kind == Token::Kind::String) keys.push_back(cardKey(tokens[k].text));
        }
    }
    return keys.size() > before;
}

} // namespace

WriteLocks cardWriteLocks(const BatchProgram& program, const std::vector<platform::ReadCheck>& checks)
{
    WriteLocks locks;
    bool cardsNamed = false;
    bool addsTotals = false; // the batch creates a card's totals row
    try {
        for (const platform::ReadCheck& check : checks)
            cardsNamed = addCardsNamed(tokenize(check.sql), locks.keys) || cardsNamed;
        for (const Step& step : program.steps) {
            if (step.kind == Step::Kind::SetValue || step.kind == Step::Kind::Jump) continue;
            const std::string_view statement = program.text.substr(step.textAt, step.textLength);
            const std::vector<Token> tokens = tokenize(statement);
            const bool names = addCardsNamed(tokens, locks.keys);
            cardsNamed = cardsNamed || names;
            if (step.kind != Step::Kind::Run || tokens.empty()) continue;
            const bool inserts = tokens.front().isWord("insert");
            for (const std::string& table : footprintOfText(statement).writes) {
                if (inserts && isAppendOnly(table)) continue;
                if (inserts && table == "t_pos_vipconsume") {
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
    if (locks.whole) locks.keys.clear();
    return locks;
}

} // namespace ormex::db
