#include "LookupTableView.h"

#include "LookupModel.h"

namespace ormex::host {

LookupTableView::LookupTableView(LookupModel& model, QWidget* parent) : QTableView(parent), m_model(model)
{
    setModel(&m_model);
}

void LookupTableView::selectAll()
{
    if (selectionMode() == MultiSelection || selectionMode() == ExtendedSelection) m_model.fetchAll();
    QTableView::selectAll();
}

QModelIndex LookupTableView::moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers)
{
    if (cursorAction == MoveEnd && modifiers.testFlag(Qt::ControlModifier)) m_model.fetchAll();
    return QTableView::moveCursor(cursorAction, modifiers);
}

} // namespace ormex::host
