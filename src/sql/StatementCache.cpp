#include "StatementCache.h"

namespace ormex::db {

std::shared_ptr<SqliteStatement> StatementCache::get(const std::string& sql)
{
    auto found = m_statements.find(sql);
    if (found != m_statements.end()) return found->second;
    auto compiled = std::make_shared<SqliteStatement>(m_db, sql);
    if (m_statements.size() >= m_capacity) m_statements.erase(m_statements.begin());
    m_statements.emplace(sql, compiled);
    return compiled;
}

} // namespace ormex::db
