#pragma once

#include <string>
#include <string_view>

#include "BatchProgram.h"
#include "DerivedColumn.h"
#include "Dialect.h"

// Parses the T-SQL of the system. A batch becomes a program of steps (control flow — DECLARE,
// SET, IF/ELSE, BEGIN…END — as jumps for the executor; every data statement, condition and
// variable value translated by the dialect into the engine's SQL with its literals and variables
// as parameters). The whole batch is parsed before anything runs, so text outside the dialect is
// refused with its line. The batch text must outlive its program.
namespace ormex::db {

// With `derived`, an UPDATE of its table that writes one of its sources also writes the derived
// column (DerivedColumn.h): for connections that registered its function. Throws ParseError.
BatchProgram parseBatch(std::string_view batch, const Dialect& dialect,
                        const DerivedColumn* derived = nullptr);

// Text that must be exactly one SELECT, translated with its literals as parameters (except where
// they name result columns or ORDER BY positions). Throws ParseError.
QueryShape parseQueryShape(std::string_view sql, const Dialect& dialect);

// The same SELECT translated with every literal written out.
std::string parseQuery(std::string_view sql, const Dialect& dialect);

} // namespace ormex::db
