#pragma once

#include <functional>
#include <string>

#include "BusinessObjects.h"
#include "FieldMap.h"
#include "RecordList.h"

class QWidget;

// The host's lookup windows (F7 pick lists) and the name list that drops down under a field as
// the operator types.
namespace ormex::platform {

struct LookupResult
{
    bool returnOk = false;   // the operator chose
    RecordList returnObject; // the chosen records
};

// "OrmexEBCGLView.GLView"
class GLView : public virtual BusinessObject
{
public:
    virtual LookupResult itemLookup(int classId, const std::string& text1, const std::string& text2,
                                    const FieldMap& options) = 0;
    virtual LookupResult subMesLookup(int classId, const std::string& text1, const std::string& text2) = 0;
};

// "OrmexMCBaseData.Application": member-card list windows (50 cards, 51 card types).
class MCBaseDataApp : public virtual BusinessObject
{
public:
    // mode 2: list everything the filter allows; 3: start from the search text. `multiSelect`
    // lets the operator choose several records.
    virtual LookupResult showFormReturn(int classId, bool multiSelect, int mode, const std::string& filter,
                                        const std::string& searchText) = 0;
};

// "OrmexGLNameListLib2.GLNameList": classes 50 member cards, 51 card types, 34 payment methods,
// 4 goods and 5 warehouses. It drops down the entries matching what the field holds; F8 in the
// field opens it (with every entry of a small class when the field is empty). Choosing writes
// the entry's key (card number, type id, number) into the field.
class GLNameList : public BusinessObject
{
public:
    virtual void setLookUpClassId(int classId) = 0;
    virtual void setFilter(const std::string& filter) = 0;
    virtual void setNoKeyDownKeyUp(bool on) = 0;
    virtual void setHotTrace(bool on) = 0;
    // Attaches to an edit field; the list drops down under it and writes the choice into it.
    virtual void attach(QWidget* field, int rows) = 0;
    virtual void detach() = 0;
    virtual void showNameListWindow() = 0;
    virtual bool returnOk() const = 0;
    virtual FieldMap returnObject() const = 0;
    // Called after the operator chose an entry (its key is in the field by then).
    virtual void setChosenHandler(std::function<void()> handler) = 0;
};

} // namespace ormex::platform
