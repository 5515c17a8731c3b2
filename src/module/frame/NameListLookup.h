#pragma once

#include <memory>
#include <string>

#include "platform/Lookups.h"

class QLineEdit;

// The host's drop-down name list as a screen uses it: created on first use and kept for the life
// of the screen, attached to a field (it drops down as the operator types) or to a grid cell (the
// cell's editor opens and the list with it, as F8 does). Failures are ignored: the list is a
// help, and without it the operator types the whole number.
namespace ormex::module::frame {

class Grid;

class NameListLookup
{
public:
    // Attaches to a field with a class (50 member cards, 51 card types, 34 payment methods, 4
    // goods, 5 warehouses) and a filter; `showNow` drops the list down at once.
    void attachToField(QLineEdit* field, int classId, const std::string& filter, bool showNow);
    // Makes the cell the active cell, opens its editor and the list under it. Choosing an entry
    // writes its key into the cell as the operator's edit.
    void attachToCell(Grid& grid, int row, int column, int classId, const std::string& filter = {});
    void detach();

private:
    platform::GLNameList* prepare(int classId, const std::string& filter);
    std::shared_ptr<platform::GLNameList> m_list;
};

} // namespace ormex::module::frame
