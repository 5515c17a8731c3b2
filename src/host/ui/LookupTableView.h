#pragma once

#include <QTableView>

// The table of a lookup window. Its model reads rows as the operator scrolls; the commands that
// mean the whole list (select all, Ctrl+End to the last row) read the rest of it first, so they
// act on every row as they would on a list read at once.
namespace ormex::host {

class LookupModel;

class LookupTableView : public QTableView
{
public:
    explicit LookupTableView(LookupModel& model, QWidget* parent = nullptr);

    void selectAll() override;

protected:
    QModelIndex moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers) override;

private:
    LookupModel& m_model;
};

} // namespace ormex::host
