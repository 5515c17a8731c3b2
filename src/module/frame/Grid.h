#pragma once

#include <QColor>
#include <QTableWidget>

#include <string>
#include <vector>

// The one grid of the component's screens: a table whose columns carry the field they show,
// their cell type, whether they are locked or hidden, their save mark and number format.
namespace ormex::module::frame {

enum class CellType { Date = 0, Text = 1, Integer = 3, List = 8, CheckBox9 = 9, CheckBox = 10, Number = 13 };

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
};

class Grid : public QTableWidget
{
public:
    explicit Grid(QWidget* parent = nullptr);

    // Replaces the columns; the grid keeps no rows.
    void setColumns(std::vector<GridColumn> newColumns);
    const GridColumn& column(int c) const { return m_columns.at(static_cast<std::size_t>(c)); }
    int columns() const { return static_cast<int>(m_columns.size()); }
    // The column showing a field (without regard to case), -1 when none does.
    int columnOf(const QString& field) const;

    // Sets the number of rows; new rows get cells shaped by their column.
    void setRows(int rows);

    QString cellText(int row, int column) const;
    QString cellText(int row, const QString& field) const { return cellText(row, columnOf(field)); }
    // Writes a value as the column shows it (numbers with the column's decimals, check boxes
    // ticked for "1").
    void setCellText(int row, int column, const QString& text);
    QColor cellColor(int row, int column) const;
    void setCellColor(int row, int column, const QColor& colour);
    bool isChecked(int row, int column) const;
    void setChecked(int row, int column, bool checked);

private:
    QTableWidgetItem* cell(int row, int column);
    std::vector<GridColumn> m_columns;
};

} // namespace ormex::module::frame
