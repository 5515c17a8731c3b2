#pragma once

#include <cstddef>
#include <string>

#include "platform/Lookups.h"

// The host's lookup windows by class number: member cards (50), card types (51), goods (1-4,
// 8, 10), warehouses (5), auxiliary attributes (23) and payment methods (34). The filter is a
// condition on the columns of the list.
namespace ormex::host {

class LookupWindows : public platform::GLView, public platform::MCBaseDataApp
{
public:
    explicit LookupWindows(std::string databasePath) : m_path(std::move(databasePath)) {}

    platform::LookupResult itemLookup(int classId, const std::string& text1, const std::string& text2,
                                      const platform::FieldMap& options) override;
    platform::LookupResult subMesLookup(int classId, const std::string& text1,
                                        const std::string& text2) override;
    platform::LookupResult showFormReturn(int classId, bool multiSelect, int mode, const std::string& filter,
                                          const std::string& searchText) override;

    // The SQL a window runs for a class, a filter and a search text.
    std::string lookupSql(int classId, const std::string& filter, const std::string& search) const;
    // The same list's rows from `offset` on, at most `count` of them, in the order of the rows' keys.
    std::string lookupPageSql(int classId, const std::string& filter, const std::string& search,
                              std::size_t offset, std::size_t count) const;

private:
    platform::LookupResult open(int classId, const std::string& filter, const std::string& search,
                                bool multiSelect);
    std::string m_path;
};

} // namespace ormex::host
