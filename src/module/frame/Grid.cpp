#include "Grid.h"

#include <QHeaderView>
#include <QKeyEvent>

#include "GridCellEditor.h"
#include "GridCsvExport.h"
#include "GridHeader.h"
#include "GridModel.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {

// Rows of 285 twips.
constexpr int kRowHeight = 19;

std::string_view trimmed(std::string_view text)
{
    const auto blank = [](char c) {
        return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
    };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

bool isCheckBoxType(CellType type)
{
    return type == CellType::CheckBox || type == CellType::CheckBox9;
}

bool isNumberType(CellType type)
{
    return type == CellType::Number || type == CellType::Integer;
}

Grid::Grid(QWidget* parent) : QTableView(parent), m_model(new GridModel(this))
{
    setModel(m_model);
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setHorizontalHeader(new GridHeader(this));
    setItemDelegate(new GridCellEditor(this));
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
    // Grid lines and the area beyond the cells RGB(162,162,162); the selection RGB(7,59,131) with
    // white text.
    setStyleSheet(
        QStringLiteral("QTableView { gridline-color: rgb(162,162,162); background: rgb(162,162,162); }"
                       "QTableView::item { background: white; }"
                       "QTableView::item:selected { background: rgb(7,59,131); color: white; }"));
    // Rows are numbered by a column of their own (or by a field of the data), not by a header.
    verticalHeader()->setVisible(false);
    verticalHeader()->setMinimumSectionSize(kRowHeight);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(kRowHeight);
    horizontalHeader()->setFixedHeight(kRowHeight + 4);
    connect(m_model, &GridModel::edited, this, &Grid::operatorEdited);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& now, const QModelIndex& before) {
                Q_EMIT currentCellChanged(now.row(), now.column(), before.row(), before.column());
            });
    connect(this, &QAbstractItemView::clicked, this,
            [this](const QModelIndex& index) { Q_EMIT cellClicked(index.row(), index.column()); });
    AddCsvExportCommand(*this);
}

void Grid::setColumns(std::vector<GridColumn> newColumns, bool keepRows)
{
    m_columns = std::move(newColumns);
    m_model->resetColumns(keepRows);
    for (int c = 0; c < columns(); ++c)
        setColumnHidden(c, m_columns[static_cast<std::size_t>(c)].hidden);
    horizontalHeader()->viewport()->update();
}

int Grid::columnOf(const QString& field) const
{
    if (field.isEmpty()) return -1;
    for (int c = 0; c < columns(); ++c)
        if (m_columns[static_cast<std::size_t>(c)].field.compare(field, Qt::CaseInsensitive) == 0) return c;
    return -1;
}

void Grid::setColumnLocked(int column, bool locked)
{
    if (column < 0 || column >= columns()) return;
    m_columns[static_cast<std::size_t>(column)].locked = locked;
    m_model->clearOwnLocks(column);
}

void Grid::setCellLocked(int row, int column, bool locked)
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= columns()) return;
    m_model->setOwnLock(row, column, locked ? 1 : 0);
}

bool Grid::isCellLocked(int row, int column) const
{
    if (column < 0 || column >= columns()) return false;
    if (row < 0 || row >= rowCount()) return m_columns[static_cast<std::size_t>(column)].locked;
    return m_model->isLocked(row, column);
}

void Grid::setColumnMinimum(int column, double minimum)
{
    if (column >= 0 && column < columns()) m_columns[static_cast<std::size_t>(column)].minimum = minimum;
}

void Grid::setColumnItems(int column, const QStringList& items)
{
    if (column >= 0 && column < columns()) m_columns[static_cast<std::size_t>(column)].items = items;
}

void Grid::setColumnCaption(int column, const QString& caption)
{
    if (column < 0 || column >= columns()) return;
    m_columns[static_cast<std::size_t>(column)].caption = caption;
    m_model->captionChanged(column);
}

void Grid::setColumnType(int column, CellType type)
{
    if (column < 0 || column >= columns()) return;
    m_columns[static_cast<std::size_t>(column)].type = type;
    m_model->columnChanged(column);
}

void Grid::setColumnAlignment(int column, Qt::Alignment alignment)
{
    if (column < 0 || column >= columns()) return;
    m_columns[static_cast<std::size_t>(column)].alignment = alignment;
    m_model->columnChanged(column);
}

int Grid::rowCount() const
{
    return m_model->rowCount();
}

void Grid::setRows(int rows)
{
    m_model->resize(rows);
}

void Grid::removeRow(int row)
{
    m_model->removeRowAt(row);
}

int Grid::addRow()
{
    setRows(rowCount() + 1);
    return rowCount() - 1;
}

int Grid::dataRows() const
{
    for (int r = rowCount(); r > 0; --r)
        for (int c = 0; c < columns(); ++c)
            if (!m_columns[static_cast<std::size_t>(c)].rowNumbers &&
                !isCheckBoxType(m_columns[static_cast<std::size_t>(c)].type) &&
                !cellText(r - 1, c).trimmed().isEmpty())
                return r;
    return 0;
}

QString Grid::cellText(int row, int column) const
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return {};
    const GridColumn& col = m_columns[static_cast<std::size_t>(column)];
    if (col.rowNumbers) return QString::number(row + 1);
    if (isCheckBoxType(col.type))
        return m_model->text(row, column) == "1" ? QStringLiteral("1") : QStringLiteral("0");
    return fromUtf8(m_model->text(row, column));
}

std::string Grid::cellStd(int row, const std::string& field) const
{
    return cellText(row, columnOf(field)).toStdString();
}

void Grid::store(int row, int column, std::string_view text)
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return;
    const GridColumn& col = m_columns[static_cast<std::size_t>(column)];
    if (col.rowNumbers) return; // the grid numbers its rows itself
    // An open editor shows the cell's value: it hears of the change at once.
    const bool now = m_editor != nullptr;
    if (isCheckBoxType(col.type)) {
        m_model->setText(row, column, trimmed(text) == "1" ? "1" : "", now);
        return;
    }
    if (isNumberType(col.type) && !trimmed(text).empty()) {
        const double value = platform::numberOr0(std::string(text));
        m_model->setText(row, column,
                         platform::formatFixed(value, col.type == CellType::Integer ? 0 : col.decimals), now);
        return;
    }
    m_model->setText(row, column, text, now);
}

void Grid::setCellText(int row, int column, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    store(row, column, std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

void Grid::setCell(int row, const std::string& field, const std::string& text)
{
    store(row, columnOf(field), text);
}

QColor Grid::cellColor(int row, int column) const
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= columns()) return QColor(Qt::black);
    const QColor colour = m_model->color(row, column);
    return colour.isValid() ? colour : QColor(Qt::black);
}

void Grid::setCellColor(int row, int column, const QColor& colour)
{
    if (row >= 0 && row < rowCount() && column >= 0 && column < columns())
        m_model->setColor(row, column, colour);
}

bool Grid::isChecked(int row, int column) const
{
    return cellText(row, column) == QStringLiteral("1");
}

void Grid::setChecked(int row, int column, bool checked)
{
    setCellText(row, column, checked ? QStringLiteral("1") : QStringLiteral("0"));
}

void Grid::setActiveCell(int row, int column)
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= columns()) return;
    const QModelIndex cell = m_model->index(row, column);
    setCurrentIndex(cell);
    scrollTo(cell);
}

QWidget* Grid::editActiveCell()
{
    const QModelIndex cell = currentIndex();
    if (!cell.isValid() || !(m_model->flags(cell) & Qt::ItemIsEditable)) return nullptr;
    edit(cell);
    return m_editor;
}

void Grid::setEditor(QWidget* editor)
{
    // The view would hand the writes still untold to the new editor later, over what is typed:
    // it hears of them before the editor takes the cell's value.
    m_model->tellChanges();
    m_editor = editor;
}

void Grid::commitEditor()
{
    if (m_editor) {
        commitData(m_editor);
        closeEditor(m_editor, QAbstractItemDelegate::NoHint);
    }
}

void Grid::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_F7 || event->key() == Qt::Key_F8) && currentRow() >= 0) {
        Q_EMIT lookupRequested(currentRow(), currentColumn(), event->key());
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace ormex::module::frame
