#include "Grid.h"

#include <QHeaderView>
#include <QKeyEvent>

#include "GridCellEditor.h"
#include "GridCsvExport.h"
#include "GridHeader.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace ormex::module::frame {

namespace {

// Rows of 285 twips.
constexpr int kRowHeight = 19;

// A cell's own lock, kept in the item so that it moves with its row: absent means the column's.
constexpr int kCellLockRole = Qt::UserRole + 1;

// Counts code writes while it lives, so that itemChanged can tell them from the operator's.
class CodeWrite
{
public:
    explicit CodeWrite(int& counter) : m_counter(counter) { ++m_counter; }
    ~CodeWrite() { --m_counter; }
    CodeWrite(const CodeWrite&) = delete;
    CodeWrite& operator=(const CodeWrite&) = delete;

private:
    int& m_counter;
};

} // namespace

bool isCheckBoxType(CellType type)
{
    return type == CellType::CheckBox || type == CellType::CheckBox9;
}

bool isNumberType(CellType type)
{
    return type == CellType::Number || type == CellType::Integer;
}

Grid::Grid(QWidget* parent) : QTableWidget(parent)
{
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setHorizontalHeader(new GridHeader(this));
    setItemDelegate(new GridCellEditor(this));
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
    // Grid lines and the area beyond the cells RGB(162,162,162); the selection RGB(7,59,131) with
    // white text.
    setStyleSheet(
        QStringLiteral("QTableWidget { gridline-color: rgb(162,162,162); background: rgb(162,162,162); }"
                       "QTableWidget::item { background: white; }"
                       "QTableWidget::item:selected { background: rgb(7,59,131); color: white; }"));
    // Rows are numbered by a column of their own (or by a field of the data), not by a header.
    verticalHeader()->setVisible(false);
    verticalHeader()->setMinimumSectionSize(kRowHeight);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(kRowHeight);
    horizontalHeader()->setFixedHeight(kRowHeight + 4);
    connect(this, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
        if (m_codeWrites == 0 && !column(item->column()).rowNumbers)
            Q_EMIT operatorEdited(item->row(), item->column());
    });
    connect(model(), &QAbstractItemModel::rowsInserted, this, [this] { renumber(); });
    connect(model(), &QAbstractItemModel::rowsRemoved, this, [this] { renumber(); });
    AddCsvExportCommand(*this);
}

void Grid::setColumns(std::vector<GridColumn> newColumns, bool keepRows)
{
    CodeWrite writing(m_codeWrites);
    m_columns = std::move(newColumns);
    if (!keepRows) setRowCount(0);
    const int rows = rowCount();
    setColumnCount(static_cast<int>(m_columns.size()));
    QStringList captions;
    for (const auto& c : m_columns)
        captions << c.caption;
    setHorizontalHeaderLabels(captions);
    for (int c = 0; c < columns(); ++c)
        setColumnHidden(c, m_columns[static_cast<std::size_t>(c)].hidden);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns(); ++c)
            applyFlags(cell(r, c), r, c);
    renumber();
    horizontalHeader()->viewport()->update();
}

int Grid::columnOf(const QString& field) const
{
    if (field.isEmpty()) return -1;
    for (int c = 0; c < columns(); ++c)
        if (m_columns[static_cast<std::size_t>(c)].field.compare(field, Qt::CaseInsensitive) == 0) return c;
    return -1;
}

void Grid::applyFlags(QTableWidgetItem* item, int, int column) const
{
    const GridColumn& col = m_columns.at(static_cast<std::size_t>(column));
    const QVariant own = item->data(kCellLockRole);
    const bool locked = col.rowNumbers || (own.isValid() ? own.toBool() : col.locked);
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (isCheckBoxType(col.type)) {
        if (!locked) flags |= Qt::ItemIsUserCheckable;
        if (item->data(Qt::CheckStateRole).isNull()) item->setCheckState(Qt::Unchecked);
        item->setTextAlignment(Qt::AlignCenter);
    } else if (!locked) {
        flags |= Qt::ItemIsEditable;
    }
    if (isNumberType(col.type) || col.rowNumbers) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    item->setFlags(flags);
}

QTableWidgetItem* Grid::cell(int row, int column)
{
    QTableWidgetItem* it = item(row, column);
    if (it) return it;
    CodeWrite writing(m_codeWrites);
    it = new QTableWidgetItem;
    applyFlags(it, row, column);
    setItem(row, column, it);
    return it;
}

void Grid::setColumnLocked(int column, bool locked)
{
    if (column < 0 || column >= columns()) return;
    CodeWrite writing(m_codeWrites);
    m_columns[static_cast<std::size_t>(column)].locked = locked;
    for (int r = 0; r < rowCount(); ++r) {
        QTableWidgetItem* it = cell(r, column);
        it->setData(kCellLockRole, QVariant());
        applyFlags(it, r, column);
    }
}

void Grid::setCellLocked(int row, int column, bool locked)
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= columns()) return;
    CodeWrite writing(m_codeWrites);
    QTableWidgetItem* it = cell(row, column);
    it->setData(kCellLockRole, locked);
    applyFlags(it, row, column);
}

bool Grid::isCellLocked(int row, int column) const
{
    const QTableWidgetItem* it = item(row, column);
    if (!it) return column >= 0 && column < columns() && (m_columns[static_cast<std::size_t>(column)].locked);
    const Qt::ItemFlags flags = it->flags();
    return !(flags & Qt::ItemIsEditable) && !(flags & Qt::ItemIsUserCheckable);
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
    setHorizontalHeaderItem(column, new QTableWidgetItem(caption));
}

void Grid::setColumnType(int column, CellType type)
{
    if (column < 0 || column >= columns()) return;
    CodeWrite writing(m_codeWrites);
    m_columns[static_cast<std::size_t>(column)].type = type;
    for (int r = 0; r < rowCount(); ++r)
        applyFlags(cell(r, column), r, column);
}

void Grid::setRows(int rows)
{
    CodeWrite writing(m_codeWrites);
    const int before = rowCount();
    setRowCount(rows);
    for (int r = before; r < rows; ++r)
        for (int c = 0; c < columns(); ++c)
            cell(r, c);
    renumber();
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

void Grid::renumber()
{
    if (m_columns.empty() || !m_columns.front().rowNumbers) return;
    CodeWrite writing(m_codeWrites);
    for (int r = 0; r < rowCount(); ++r)
        cell(r, 0)->setText(QString::number(r + 1));
}

QString Grid::cellText(int row, int column) const
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return {};
    const QTableWidgetItem* it = item(row, column);
    if (isCheckBoxType(m_columns[static_cast<std::size_t>(column)].type))
        return it && it->checkState() == Qt::Checked ? QStringLiteral("1") : QStringLiteral("0");
    return it ? it->text() : QString();
}

std::string Grid::cellStd(int row, const std::string& field) const
{
    return cellText(row, columnOf(field)).toStdString();
}

void Grid::setCellText(int row, int column, const QString& text)
{
    if (column < 0 || column >= columns() || row < 0 || row >= rowCount()) return;
    CodeWrite writing(m_codeWrites);
    const GridColumn& col = m_columns[static_cast<std::size_t>(column)];
    QTableWidgetItem* it = cell(row, column);
    if (isCheckBoxType(col.type)) {
        it->setCheckState(text.trimmed() == QStringLiteral("1") ? Qt::Checked : Qt::Unchecked);
        return;
    }
    if (isNumberType(col.type) && !text.trimmed().isEmpty()) {
        const double value = platform::numberOr0(text.toStdString());
        it->setText(QString::fromStdString(
            platform::formatFixed(value, col.type == CellType::Integer ? 0 : col.decimals)));
        return;
    }
    it->setText(text);
}

void Grid::setCell(int row, const std::string& field, const std::string& text)
{
    setCellText(row, columnOf(field), QString::fromStdString(text));
}

QColor Grid::cellColor(int row, int column) const
{
    const QTableWidgetItem* it = item(row, column);
    return it && it->foreground().style() != Qt::NoBrush ? it->foreground().color() : QColor(Qt::black);
}

void Grid::setCellColor(int row, int column, const QColor& colour)
{
    if (row < rowCount() && column >= 0 && column < columns()) {
        CodeWrite writing(m_codeWrites);
        cell(row, column)->setForeground(colour);
    }
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
    setCurrentCell(row, column);
    scrollToItem(cell(row, column));
}

QWidget* Grid::editActiveCell()
{
    QTableWidgetItem* it = currentItem();
    if (!it || !(it->flags() & Qt::ItemIsEditable)) return nullptr;
    editItem(it);
    return m_editor;
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
    QTableWidget::keyPressEvent(event);
}

} // namespace ormex::module::frame
