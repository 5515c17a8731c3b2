#pragma once

#include "Dialect.h"

// The T-SQL of the system on SQLite: isnull → ifnull, getdate() → the platform clock,
// convert/cast → CAST or substr, datediff(day, …) and dbo.f_decrypt → functions the connection
// registers, @variables and literals → numbered parameters; [identifiers] stay as written.
namespace ormex::db {

class SqliteDialect : public Dialect
{
public:
    std::string translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                          Translation& translation) const override;
    std::string variableName(const std::string& variable) const override;
    std::string parameter(std::size_t n) const override;

    static const SqliteDialect& instance();
};

} // namespace ormex::db
