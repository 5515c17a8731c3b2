#pragma once

#include <QStyledItemDelegate>

#include <string>

// The cell editor of the grid. A number cell takes whatever is typed and keeps it exactly as a
// number in the column's format, or refuses it with a message naming the column (not a plain
// number, more decimals than the column shows, outside the column's range) and leaves the cell as
// it was: nothing typed is ever turned into another number. List cells offer the column's
// entries; date cells take "yyyy-mm-dd". F7 and F8 in an open editor ask for the cell's lookup.
namespace ormex::module::frame {

class Grid;
struct GridColumn;

class GridCellEditor : public QStyledItemDelegate
{
public:
    explicit GridCellEditor(Grid* grid);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

    // What a number column does with a typed text: the text it stores (in the column's format;
    // "" stays ""), or the refusal the operator reads.
    struct TypedNumber
    {
        QString text;
        std::string refusal; // empty when the text is taken
    };
    static TypedNumber numberText(const QString& typed, const GridColumn& column);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Grid* m_grid;
};

} // namespace ormex::module::frame
