#include "Grid.h"

#include <QHeaderView>

#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {

bool isCheckBox(CellType type)
{
    return type == CellType::CheckBox || type == CellType::CheckBox9;
}

} // namespace

Grid::Grid(QWidget* parent) : QTableWidget(parent)
{
    setSelectionBehavior(QAbstractItemView::SelectItems);
    verticalHeader()->setDefaultSectionSize(22);
    setStyleSheet(QStringLiteral("QTableWidget { gridline-color: rgb(162,162,162); }"
                                 "QTableWidget::item:selected { background: rgb(7,59,131); color: white; }"));
}

void Grid::setColumns(std::vector<GridColumn> newColumns)
{
    m_columns = std::move(newColumns);
    setRowCount(0);
    setColumnCount(static_cast<int>(m_columns.size()));
    QStringList captions;
    for (const auto& c : m_columns)
        captions << c.caption;
    setHorizontalHeaderLabels(captions);
    for (int c = 0; c < columns(); ++c)
        setColumnHidden(c, m_columns[static_cast<std::size_t>(c)].hidden);
}

int Grid::columnOf(const QString& field) const
{
    for (int c = 0; c < columns(); ++c)
        if (m_columns[static_cast<std::size_t>(c)].field.compare(field, Qt::CaseInsensitive) == 0) return c;
    return -1;
}

void Grid::setRows(int rows)
{
    const int before = rowCount();
    setRowCount(rows);
    for (int r = before; r < rows; ++r)
        for (int c = 0; c < columns(); ++c)
            cell(r, c);
}

QTableWidgetItem* Grid::cell(int row, int column)
{
    QTableWidgetItem* it = item(row, column);
    if (it) return it;
    it = new QTableWidgetItem;
    const GridColumn& col = m_columns.at(static_cast<std::size_t>(column));
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (isCheckBox(col.type)) {
        flags |= Qt::ItemIsUserCheckable;
        it->setCheckState(Qt::Unchecked);
        it->setTextAlignment(Qt::AlignCenter);
    } else if (!col.locked) {
        flags |= Qt::ItemIsEditable;
    }
    if (col.type == CellType::Number || col.type == CellType::Integer)
        it->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    it->setFlags(flags);
    setItem(row, column, it);
    return it;
}

QString Grid::cellText(int row, int column) const
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return {};
    const QTableWidgetItem* it = item(row, column);
    if (isCheckBox(m_columns[static_cast<std::size_t>(column)].type))
        return it && it->checkState() == Qt::Checked ? QStringLiteral("1") : QStringLiteral("0");
    return it ? it->text() : QString();
}

void Grid::setCellText(int row, int column, const QString& text)
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return;
    const GridColumn& col = m_columns[static_cast<std::size_t>(column)];
    QTableWidgetItem* it = cell(row, column);
    if (isCheckBox(col.type)) {
        it->setCheckState(text.trimmed() == QStringLiteral("1") ? Qt::Checked : Qt::Unchecked);
        return;
    }
    if ((col.type == CellType::Number || col.type == CellType::Integer) && !text.trimmed().isEmpty()) {
        const double value = platform::numberOr0(text.toStdString());
        it->setText(QString::fromStdString(
            platform::formatFixed(value, col.type == CellType::Integer ? 0 : col.decimals)));
        return;
    }
    it->setText(text);
}

QColor Grid::cellColor(int row, int column) const
{
    const QTableWidgetItem* it = item(row, column);
    return it && it->foreground().style() != Qt::NoBrush ? it->foreground().color() : QColor(Qt::black);
}

void Grid::setCellColor(int row, int column, const QColor& colour)
{
    if (row < rowCount() && column >= 0 && column < columns()) cell(row, column)->setForeground(colour);
}

bool Grid::isChecked(int row, int column) const
{
    return cellText(row, column) == QStringLiteral("1");
}

void Grid::setChecked(int row, int column, bool checked)
{
    setCellText(row, column, checked ? QStringLiteral("1") : QStringLiteral("0"));
}

} // namespace ormex::module::frame
