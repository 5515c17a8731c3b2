#pragma once

#include "Dialect.h"

// The T-SQL of the system on PostgreSQL: isnull → coalesce, getdate() and datediff(day, …) →
// functions installed with the schema (the clock is the session's, set by the connection),
// dbo.f_decrypt → the schema's f_decrypt, convert/cast → CAST or substr with PostgreSQL's types,
// round(x, n) over an exact number, [Name] → "name" (tables and columns are created unquoted, so
// their names are lower case there), @variables and literals → parameters $1, $2, ….
// The parameters carry no type in the text: the connection gives each the type of the value bound
// to it, or leaves it to the server to infer from where it stands, as for a literal.
namespace ormex::db {

class PgDialect : public Dialect
{
public:
    std::string translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                          Translation& translation) const override;
    std::string variableName(const std::string& variable) const override;
    std::string parameter(std::size_t n) const override;

    static const PgDialect& instance();
};

} // namespace ormex::db
