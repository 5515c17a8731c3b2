#pragma once

#include <QStyledItemDelegate>

// The cell editor of the grid: what an operator may type into a cell follows its column. Number
// cells take digits with at most the column's decimals (a sign only when the column's minimum is
// below 0) and are written within the column's range and in its format; list cells offer the
// column's entries; date cells take "yyyy-mm-dd". F7 and F8 in an open editor ask for the
// cell's lookup.
namespace ormex::module::frame {

class Grid;

class GridCellEditor : public QStyledItemDelegate
{
public:
    explicit GridCellEditor(Grid* grid);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

    // The text a number column stores for what was typed: within the range, in the column's
    // format; "" stays "".
    static QString numberText(const QString& typed, int decimals, double minimum, double maximum);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Grid* m_grid;
};

} // namespace ormex::module::frame
