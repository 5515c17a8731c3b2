#pragma once

#include <QAbstractTableModel>
#include <QColor>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The rows of a grid, held once. A row is one UTF-8 string that packs its cells one after the
// other, each as its length and its bytes, so a row of a dozen short cells costs one allocation
// and no per-cell object; rows read back only the cell asked for. The rare per-cell marks (a
// colour, a lock of the cell's own) hang off the row that has them, so they move with it when
// rows before it go.
//
// The columns (cell type, lock, caption) are the grid's: the model asks its grid for them.
namespace ormex::module::frame {

class Grid;

class GridModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit GridModel(Grid* grid);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    // An edit through the view (the cell editor, a ticked box): stored and reported as the
    // operator's.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    // Sets the number of rows: new rows are empty, rows past the count go.
    void resize(int rows);
    void removeRowAt(int row);
    // The columns changed shape or number; `keepRows` false also drops every row.
    void resetColumns(bool keepRows);
    void captionChanged(int column);
    // A column's lock or type changed: its cells look different.
    void columnChanged(int column);

    // The stored text of a cell (a check box holds "1" when ticked), as the code writes it.
    std::string_view text(int row, int column) const;
    // Stores a cell written by code: no edit is reported, and the view hears of the change once
    // the writes of this pass are over (or at once when `now`).
    void setText(int row, int column, std::string_view text, bool now = false);
    // Tells the view now of the writes not yet told.
    void tellChanges();

    QColor color(int row, int column) const;
    void setColor(int row, int column, const QColor& colour);
    // The cell's own lock: -1 none (the column's lock holds), 0 unlocked, 1 locked.
    int ownLock(int row, int column) const;
    void setOwnLock(int row, int column, int lock);
    void clearOwnLocks(int column);
    bool isLocked(int row, int column) const;

Q_SIGNALS:
    void edited(int row, int column);

private:
    struct CellMark
    {
        int column;
        QColor colour; // invalid: the default
        int lock = -1;
    };
    struct Row
    {
        std::string cells;
        std::unique_ptr<std::vector<CellMark>> marks;
    };

    const CellMark* mark(int row, int column) const;
    CellMark& markFor(int row, int column);
    void noteChanged(int row, int column);

    Grid* m_grid;
    std::vector<Row> m_rows;
    bool m_changesPending = false;
    int m_top = 0, m_bottom = 0, m_left = 0, m_right = 0;
};

} // namespace ormex::module::frame
