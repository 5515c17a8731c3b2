#pragma once

#include <QColor>
#include <QPointer>
#include <QStringList>
#include <QTableView>

#include <string>
#include <string_view>
#include <vector>

// The one grid of the component's screens: a table whose columns carry the field they show,
// their cell type, whether they are locked or hidden, their save mark and number format. Columns
// come from layout records (GridLayout.h).
//
// The rows live once in the grid's model (GridModel.h); cells are edited through GridCellEditor.
//
// Column 0 may be the row-number column ("序号"), which the grid keeps numbered itself; the data
// columns then start at 1, the way the layouts count them.
//
// Every grid offers "导出CSV…" in its context menu and with Ctrl+E (GridCsvExport.h).
namespace ormex::module::frame {

enum class CellType { Date = 0, Text = 1, Integer = 3, List = 8, CheckBox9 = 9, CheckBox = 10, Number = 13 };

bool isCheckBoxType(CellType type);
bool isNumberType(CellType type);

struct GridColumn
{
    QString caption;
    QString field;
    CellType type = CellType::Text;
    bool locked = false;
    bool hidden = false;
    bool save = false; // the "S" mark: the column goes into save packages
    int decimals = 0;
    double minimum = 0;
    double maximum = 99999999;
    QStringList items;          // entries of a list column
    bool spansPrevious = false; // no caption: the previous column's header spans this one too
    bool rowNumbers = false;    // the row-number column
    Qt::Alignment alignment;    // of a text column's cells; numbers go right whatever it says
};

class GridModel;

class Grid : public QTableView
{
    Q_OBJECT
public:
    explicit Grid(QWidget* parent = nullptr);

    // Replaces the columns. With `keepRows` false the grid has no rows afterwards; otherwise the
    // rows stay and take the new column shapes.
    void setColumns(std::vector<GridColumn> newColumns, bool keepRows = false);
    const GridColumn& column(int c) const { return m_columns.at(static_cast<std::size_t>(c)); }
    int columns() const { return static_cast<int>(m_columns.size()); }
    // The column showing a field (without regard to case), -1 when none does.
    int columnOf(const QString& field) const;
    int columnOf(const std::string& field) const { return columnOf(QString::fromStdString(field)); }
    int columnOf(const char* field) const { return columnOf(QString::fromUtf8(field)); }

    // Locks or unlocks every cell of a column, the rows to come included.
    void setColumnLocked(int column, bool locked);
    // Locks or unlocks one cell; a later change of its column's lock applies to it again.
    void setCellLocked(int row, int column, bool locked);
    bool isCellLocked(int row, int column) const;
    void setColumnMinimum(int column, double minimum);
    void setColumnItems(int column, const QStringList& items);
    void setColumnCaption(int column, const QString& caption);
    // Gives a column another cell type (a selection mark shown as a check box); its cells follow.
    void setColumnType(int column, CellType type);
    void setColumnAlignment(int column, Qt::Alignment alignment);

    int rowCount() const;
    // Sets the number of rows; new rows get cells shaped by their column, rows past it go.
    void setRows(int rows);
    void setRowCount(int rows) { setRows(rows); }
    void removeRow(int row);
    // Appends one row and returns its index.
    int addRow();
    // Rows that hold data: the rows whose first data column (or any column) is not empty.
    int dataRows() const;

    QString cellText(int row, int column) const;
    QString cellText(int row, const QString& field) const { return cellText(row, columnOf(field)); }
    std::string cellStd(int row, const std::string& field) const;
    // Writes a value as the column shows it (numbers with the column's decimals, check boxes
    // ticked for "1"). Writing from code is not an operator's edit.
    void setCellText(int row, int column, const QString& text);
    void setCell(int row, const std::string& field, const std::string& text);
    QColor cellColor(int row, int column) const;
    void setCellColor(int row, int column, const QColor& colour);
    bool isChecked(int row, int column) const;
    void setChecked(int row, int column, bool checked);

    // The active cell, -1 when there is none.
    int currentRow() const { return currentIndex().row(); }
    int currentColumn() const { return currentIndex().column(); }
    // Makes a cell the active cell and shows it.
    void setActiveCell(int row, int column);
    // Opens the editor of the active cell (when it is not locked) and returns it.
    QWidget* editActiveCell();
    // The editor open on a cell, if any.
    QWidget* openEditor() const { return m_editor; }
    // Ends the open edit, keeping what was typed.
    void commitEditor();

Q_SIGNALS:
    // The operator changed a cell (typed and confirmed, chose an entry, ticked a box). Writing
    // from code does not emit it.
    void operatorEdited(int row, int column);
    // F7 or F8 in a cell: a lookup of that cell is wanted.
    void lookupRequested(int row, int column, int key);
    // The active cell moved (-1 when there is none).
    void currentCellChanged(int row, int column, int previousRow, int previousColumn);
    void cellClicked(int row, int column);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    friend class GridCellEditor;
    void setEditor(QWidget* editor);
    void store(int row, int column, std::string_view text);

    std::vector<GridColumn> m_columns;
    GridModel* m_model;
    QPointer<QWidget> m_editor;
};

} // namespace ormex::module::frame
