#include "GridModel.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Grid.h"

namespace ormex::module::frame {

namespace {

// A cell's length goes in one byte below 255; longer cells put 255 and then four bytes.
constexpr unsigned char kLongCell = 0xFF;

struct Span
{
    std::size_t start; // where the cell's length begins
    std::size_t head;  // the length's bytes
    std::size_t size;  // the text's bytes
};

std::size_t readLength(const std::string& cells, std::size_t at, std::size_t& head)
{
    const auto first = static_cast<unsigned char>(cells[at]);
    if (first != kLongCell) {
        head = 1;
        return first;
    }
    std::uint32_t length = 0;
    std::memcpy(&length, cells.data() + at + 1, sizeof length);
    head = 1 + sizeof length;
    return length;
}

std::string lengthBytes(std::size_t size)
{
    if (size < kLongCell) return std::string(1, static_cast<char>(size));
    std::string bytes(1 + sizeof(std::uint32_t), static_cast<char>(kLongCell));
    const auto length = static_cast<std::uint32_t>(size);
    std::memcpy(bytes.data() + 1, &length, sizeof length);
    return bytes;
}

// Where cell `column` lies; a row holds only the cells up to its last written one, so a cell past
// its end starts at the end with no bytes.
Span locate(const std::string& cells, int column, int& present)
{
    std::size_t at = 0;
    present = 0;
    for (; present < column && at < cells.size(); ++present) {
        std::size_t head = 0;
        at += head + readLength(cells, at, head);
    }
    if (present < column || at >= cells.size()) return {at, 0, 0};
    std::size_t head = 0;
    const std::size_t size = readLength(cells, at, head);
    ++present;
    return {at, head, size};
}

} // namespace

GridModel::GridModel(Grid* grid) : QAbstractTableModel(grid), m_grid(grid) {}

int GridModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int GridModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_grid->columns();
}

std::string_view GridModel::text(int row, int column) const
{
    const std::string& cells = m_rows[static_cast<std::size_t>(row)].cells;
    int present = 0;
    const Span span = locate(cells, column, present);
    if (present <= column) return {};
    return std::string_view(cells).substr(span.start + span.head, span.size);
}

void GridModel::setText(int row, int column, std::string_view text, bool now)
{
    std::string& cells = m_rows[static_cast<std::size_t>(row)].cells;
    int present = 0;
    const Span span = locate(cells, column, present);
    if (present <= column) {
        if (text.empty()) return; // an empty cell past the row's end is already empty
        // The empty cells up to this one, then this one.
        cells.append(static_cast<std::size_t>(column - present), '\0');
        cells += lengthBytes(text.size());
        cells.append(text);
    } else {
        if (std::string_view(cells).substr(span.start + span.head, span.size) == text) return;
        cells.replace(span.start, span.head + span.size, lengthBytes(text.size()).append(text));
    }
    if (now) {
        const QModelIndex cell = index(row, column);
        Q_EMIT dataChanged(cell, cell);
    } else {
        noteChanged(row, column);
    }
}

void GridModel::noteChanged(int row, int column)
{
    // Code fills whole grids cell by cell: the view is told once, after the fill.
    if (!m_changesPending) {
        m_changesPending = true;
        m_top = m_bottom = row;
        m_left = m_right = column;
        QMetaObject::invokeMethod(this, &GridModel::tellChanges, Qt::QueuedConnection);
        return;
    }
    m_top = std::min(m_top, row);
    m_bottom = std::max(m_bottom, row);
    m_left = std::min(m_left, column);
    m_right = std::max(m_right, column);
}

void GridModel::tellChanges()
{
    if (!m_changesPending) return;
    m_changesPending = false;
    const int last = rowCount() - 1;
    const int lastColumn = columnCount() - 1;
    if (m_top > last || m_left > lastColumn) return;
    Q_EMIT dataChanged(index(m_top, m_left), index(std::min(m_bottom, last), std::min(m_right, lastColumn)));
}

QVariant GridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount()) return {};
    const GridColumn& column = m_grid->column(index.column());
    const bool box = isCheckBoxType(column.type);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        if (column.rowNumbers) return QString::number(index.row() + 1);
        if (box) return {};
        {
            const std::string_view stored = text(index.row(), index.column());
            return QString::fromUtf8(stored.data(), static_cast<qsizetype>(stored.size()));
        }
    case Qt::CheckStateRole:
        if (!box) return {};
        return text(index.row(), index.column()) == "1" ? Qt::Checked : Qt::Unchecked;
    case Qt::TextAlignmentRole:
        if (box) return QVariant::fromValue(Qt::Alignment(Qt::AlignCenter));
        if (isNumberType(column.type) || column.rowNumbers)
            return QVariant::fromValue(Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
        if (column.alignment) return QVariant::fromValue(column.alignment);
        return {};
    case Qt::ForegroundRole: {
        const QColor colour = color(index.row(), index.column());
        return colour.isValid() ? QVariant(colour) : QVariant();
    }
    default:
        return {};
    }
}

bool GridModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount()) return false;
    const GridColumn& column = m_grid->column(index.column());
    if (column.rowNumbers) return false;
    QString written;
    if (role == Qt::CheckStateRole && isCheckBoxType(column.type))
        written = value.value<Qt::CheckState>() == Qt::Checked ? QStringLiteral("1") : QString();
    else if (role == Qt::EditRole && !isCheckBoxType(column.type))
        written = value.toString();
    else
        return false;
    const QByteArray bytes = written.toUtf8();
    const std::string_view now(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    if (text(index.row(), index.column()) == now) return true; // nothing changed: no edit
    setText(index.row(), index.column(), now, true);
    Q_EMIT edited(index.row(), index.column());
    return true;
}

bool GridModel::isLocked(int row, int column) const
{
    const GridColumn& col = m_grid->column(column);
    if (col.rowNumbers) return true;
    const int own = ownLock(row, column);
    return own >= 0 ? own == 1 : col.locked;
}

Qt::ItemFlags GridModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (isLocked(index.row(), index.column())) return flags;
    return flags | (isCheckBoxType(m_grid->column(index.column()).type) ? Qt::ItemIsUserCheckable
                                                                        : Qt::ItemIsEditable);
}

QVariant GridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < columnCount())
        return m_grid->column(section).caption;
    return QAbstractTableModel::headerData(section, orientation, role);
}

void GridModel::resize(int rows)
{
    const int before = rowCount();
    rows = std::max(rows, 0);
    if (rows > before) {
        beginInsertRows({}, before, rows - 1);
        m_rows.resize(static_cast<std::size_t>(rows));
        endInsertRows();
    } else if (rows < before) {
        beginRemoveRows({}, rows, before - 1);
        m_rows.erase(m_rows.begin() + rows, m_rows.end());
        if (rows == 0) m_rows.shrink_to_fit(); // an emptied grid gives its memory back
        endRemoveRows();
    }
}

void GridModel::removeRowAt(int row)
{
    if (row < 0 || row >= rowCount()) return;
    beginRemoveRows({}, row, row);
    m_rows.erase(m_rows.begin() + row);
    endRemoveRows();
    // The row numbers below it moved up.
    if (columnCount() > 0 && row < rowCount() && m_grid->column(0).rowNumbers)
        Q_EMIT dataChanged(index(row, 0), index(rowCount() - 1, 0));
}

void GridModel::resetColumns(bool keepRows)
{
    beginResetModel();
    if (!keepRows) {
        m_rows.clear();
        m_rows.shrink_to_fit();
    }
    endResetModel();
}

void GridModel::captionChanged(int column)
{
    Q_EMIT headerDataChanged(Qt::Horizontal, column, column);
}

void GridModel::columnChanged(int column)
{
    if (rowCount() > 0) Q_EMIT dataChanged(index(0, column), index(rowCount() - 1, column));
}

const GridModel::CellMark* GridModel::mark(int row, int column) const
{
    const auto& marks = m_rows[static_cast<std::size_t>(row)].marks;
    if (!marks) return nullptr;
    for (const CellMark& m : *marks)
        if (m.column == column) return &m;
    return nullptr;
}

GridModel::CellMark& GridModel::markFor(int row, int column)
{
    auto& marks = m_rows[static_cast<std::size_t>(row)].marks;
    if (!marks) marks = std::make_unique<std::vector<CellMark>>();
    for (CellMark& m : *marks)
        if (m.column == column) return m;
    return marks->emplace_back(CellMark{column, QColor(), -1});
}

QColor GridModel::color(int row, int column) const
{
    const CellMark* m = mark(row, column);
    return m ? m->colour : QColor();
}

void GridModel::setColor(int row, int column, const QColor& colour)
{
    markFor(row, column).colour = colour;
    noteChanged(row, column);
}

int GridModel::ownLock(int row, int column) const
{
    const CellMark* m = mark(row, column);
    return m ? m->lock : -1;
}

void GridModel::setOwnLock(int row, int column, int lock)
{
    markFor(row, column).lock = lock;
    noteChanged(row, column);
}

void GridModel::clearOwnLocks(int column)
{
    for (Row& row : m_rows)
        if (row.marks)
            for (CellMark& m : *row.marks)
                if (m.column == column) m.lock = -1;
    columnChanged(column);
}

} // namespace ormex::module::frame
