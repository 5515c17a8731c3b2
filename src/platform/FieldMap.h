#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Value.h"

// An ordered key/value map whose keys compare without regard to ASCII case ("FBalanceStyleID"
// and "FBalanceStyleId" are one key). Grids, lookups, settings and save packages exchange data in
// this shape; the order of insertion is kept because save statements list columns in that order.
namespace ormex::platform {

class FieldMap
{
public:
    using Entry = std::pair<std::string, Value>;

    FieldMap() = default;
    FieldMap(std::initializer_list<Entry> entries);

    // Adds the key, or replaces the value when the key is present (keeping its place).
    void set(std::string_view key, Value value);
    bool contains(std::string_view key) const;
    // The value of the key, or the default when the key is absent.
    Value value(std::string_view key, Value defaultValue = {}) const;
    // Shorthand for value(key).toString().
    std::string text(std::string_view key) const { return value(key).toString(); }
    bool remove(std::string_view key);

    std::size_t size() const { return m_entries.size(); }
    bool empty() const { return m_entries.empty(); }
    const std::vector<Entry>& entries() const { return m_entries; }
    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

    friend bool operator==(const FieldMap& a, const FieldMap& b) { return a.m_entries == b.m_entries; }

private:
    std::vector<Entry> m_entries;
};

} // namespace ormex::platform
