#include "FieldMap.h"

#include "Text.h"

namespace ormex::platform {

FieldMap::FieldMap(std::initializer_list<Entry> entries)
{
    for (const auto& [key, value] : entries)
        set(key, value);
}

void FieldMap::set(std::string_view key, Value value)
{
    for (auto& entry : m_entries) {
        if (iequals(entry.first, key)) {
            entry.second = std::move(value);
            return;
        }
    }
    m_entries.emplace_back(std::string(key), std::move(value));
}

bool FieldMap::contains(std::string_view key) const
{
    for (const auto& entry : m_entries)
        if (iequals(entry.first, key)) return true;
    return false;
}

Value FieldMap::value(std::string_view key, Value defaultValue) const
{
    for (const auto& entry : m_entries)
        if (iequals(entry.first, key)) return entry.second;
    return defaultValue;
}

bool FieldMap::remove(std::string_view key)
{
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (iequals(it->first, key)) {
            m_entries.erase(it);
            return true;
        }
    }
    return false;
}

} // namespace ormex::platform
