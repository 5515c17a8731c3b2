// The floors' UPDATE of the card table. On a floor connection that seals (the seal key set: the
// connection has the seal functions and the ledger's triggers, as the system's connections do),
// the statement also writes the card's seal in the same statement, as the system's statements
// do: the same rows as the executor's, seal and ledger included. On a plain floor it is the bare
// update.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct sqlite3;

namespace ormex::bench {

// Whether the floors about to run write seals: set by the harness before each floor run.
void setFloorSeals(bool seals);

// "UPDATE T_Pos_VipRecord SET <column = expression, ...> WHERE <where>", with the seal's
// assignment added when the floor seals and a sealed column is assigned.
std::string cardUpdate(const std::vector<std::pair<std::string_view, std::string_view>>& set,
                       std::string_view where);

} // namespace ormex::bench
