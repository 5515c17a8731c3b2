#include "PgDialect.h"

#include "TsqlTranslator.h"

namespace ormex::db {

namespace {

constexpr Spelling kSpelling{"coalesce", "f_decrypt", "text", "double precision",
                             "bigint",   '"',         true,   "numeric"};

} // namespace

std::string PgDialect::translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                                 Translation& translation) const
{
    return translateTokens(*this, kSpelling, tokens, begin, end, translation);
}

std::string PgDialect::variableName(const std::string& variable) const
{
    // Only a statement translated without parameters writes a variable by name, and PostgreSQL has
    // no named parameters: the name stays, and the server refuses it as an unknown column.
    return variable;
}

std::string PgDialect::parameter(std::size_t n) const
{
    return "$" + std::to_string(n);
}

const PgDialect& PgDialect::instance()
{
    static const PgDialect dialect;
    return dialect;
}

} // namespace ormex::db
