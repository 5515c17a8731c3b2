#include "NameListLookup.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>

#include "Gateway.h"
#include "Grid.h"
#include "LogCategories.h"

namespace ormex::module::frame {

platform::GLNameList* NameListLookup::prepare(int classId, const std::string& filter)
{
    if (!m_list)
        m_list = NewNameList();
    else
        m_list->detach();
    m_list->setLookUpClassId(classId);
    m_list->setFilter(filter);
    m_list->setNoKeyDownKeyUp(false);
    m_list->setHotTrace(false);
    m_list->setChosenHandler({});
    return m_list.get();
}

void NameListLookup::attachToField(QLineEdit* field, int classId, const std::string& filter, bool showNow)
{
    try {
        platform::GLNameList* list = prepare(classId, filter);
        list->attach(field, 18);
        if (showNow) list->showNameListWindow();
    } catch (const std::exception& error) {
        // The field works without its name list.
        qCWarning(lcFrame, "attaching name list %d to a field failed: %s", classId, error.what());
    }
}

void NameListLookup::attachToCell(Grid& grid, int row, int column, int classId, const std::string& filter)
{
    try {
        grid.setActiveCell(row, column);
        QWidget* editor = grid.editActiveCell();
        if (!editor) return;
        platform::GLNameList* list = prepare(classId, filter);
        list->attach(editor, 18);
        QPointer<Grid> target(&grid);
        list->setChosenHandler([target] {
            if (target) target->commitEditor();
        });
        QKeyEvent f8(QEvent::KeyPress, Qt::Key_F8, Qt::NoModifier);
        QCoreApplication::sendEvent(editor, &f8);
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "attaching name list %d to a grid cell failed: %s", classId, error.what());
    }
}

void NameListLookup::detach()
{
    try {
        if (m_list) m_list->detach();
    } catch (const std::exception& error) {
        qCWarning(lcFrame, "detaching a name list failed: %s", error.what());
    }
}

} // namespace ormex::module::frame
