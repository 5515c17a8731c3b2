#include "SqliteDialect.h"

#include "TsqlTranslator.h"

namespace ormex::db {

namespace {

constexpr Spelling kSpelling{"ifnull", "ormex_f_decrypt", "TEXT", "REAL", "INTEGER", '[', false};

} // namespace

std::string SqliteDialect::translate(const std::vector<Token>& tokens, std::size_t begin, std::size_t end,
                                     Translation& translation) const
{
    return translateTokens(*this, kSpelling, tokens, begin, end, translation);
}

std::string SqliteDialect::variableName(const std::string& variable) const
{
    return variable;
}

std::string SqliteDialect::parameter(std::size_t n) const
{
    return "?" + std::to_string(n);
}

const SqliteDialect& SqliteDialect::instance()
{
    static const SqliteDialect dialect;
    return dialect;
}

} // namespace ormex::db
