#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Dialect.h"

// Parses a T-SQL batch of the system into statements ready to run: control flow (DECLARE, SET,
// IF/ELSE, BEGIN…END) stays a tree for the executor; every data statement, condition and
// variable value is translated by the dialect into the engine's SQL. The whole batch is parsed
// before anything runs, so text outside the dialect is refused with its line.
namespace ormex::db {

struct Statement
{
    enum class Kind { Data, Declare, Set, If, Block };
    Kind kind = Kind::Data;
    int line = 0;
    std::string text;                // the statement as written (tokens joined), for error messages
    std::string sql;                 // Data: the statement; Set: the value query; If: the condition query
    std::string variable;            // Declare, Set: the variable, lower case with '@'
    std::vector<Statement> children; // Block: its statements; If: then [, else]
    bool returnsRows = false;        // a SELECT run as a statement
};

// Throws ParseError.
std::vector<Statement> parseBatch(std::string_view batch, const Dialect& dialect);

// Parses text that must be exactly one SELECT and returns its translation. Throws ParseError.
std::string parseQuery(std::string_view sql, const Dialect& dialect);

} // namespace ormex::db
