#include "GridCellEditor.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>

#include <algorithm>
#include <utility>

#include "Gateway.h"
#include "Grid.h"
#include "NumberEntry.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"

namespace ormex::module::frame {

GridCellEditor::GridCellEditor(Grid* grid) : QStyledItemDelegate(grid), m_grid(grid) {}

GridCellEditor::TypedNumber GridCellEditor::numberText(const QString& typed, const GridColumn& column)
{
    const std::string text = typed.trimmed().toStdString();
    if (text.empty()) return {};
    const int decimals = column.type == CellType::Integer ? 0 : column.decimals;
    const std::string caption = column.caption.toStdString();
    const auto number = platform::parseTypedNumber(text, decimals);
    if (!number) return {{}, NotANumberRefusal(caption, decimals, text)};
    if (*number < column.minimum || *number > column.maximum)
        return {{}, OutOfRangeRefusal(caption, column.minimum, column.maximum, text)};
    return {QString::fromStdString(platform::formatFixed(*number, decimals)), {}};
}

QWidget* GridCellEditor::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                      const QModelIndex& index) const
{
    const GridColumn& column = m_grid->column(index.column());
    QWidget* editor = nullptr;
    if (column.type == CellType::List) {
        auto* combo = new QComboBox(parent);
        combo->addItems(column.items);
        editor = combo;
    } else {
        auto* edit = new QLineEdit(parent);
        if (isNumberType(column.type)) {
            // No key is swallowed: a minus sign or a letter typed stays in view until the cell is
            // confirmed, and is then taken as it stands or refused.
            edit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        } else if (column.type == CellType::Date) {
            edit->setPlaceholderText(QStringLiteral("yyyy-mm-dd"));
        }
        editor = edit;
    }
    Q_UNUSED(option);
    editor->installEventFilter(const_cast<GridCellEditor*>(this));
    m_grid->setEditor(editor);
    return editor;
}

void GridCellEditor::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QString text = index.data(Qt::EditRole).toString();
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        combo->setCurrentIndex(std::max(0, combo->findText(text)));
    else if (auto* edit = qobject_cast<QLineEdit*>(editor))
        edit->setText(text);
}

void GridCellEditor::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    const GridColumn& column = m_grid->column(index.column());
    QString text;
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        text = combo->currentText();
    else if (auto* edit = qobject_cast<QLineEdit*>(editor))
        text = edit->text();
    std::string refusal;
    if (isNumberType(column.type)) {
        TypedNumber typed = numberText(text, column);
        refusal = std::move(typed.refusal);
        text = typed.text;
    } else if (column.type == CellType::Date && !text.trimmed().isEmpty()) {
        const auto date = platform::parseDate(text.trimmed().toStdString());
        if (date)
            text = QString::fromStdString(date->toString());
        else
            refusal = "【" + column.caption.toStdString() + "】请按yyyy-mm-dd输入日期，不能接受“" +
                      text.trimmed().toStdString() + "”！";
    }
    if (!refusal.empty()) {
        // The cell keeps what it held. The operator is told once the editor has closed: a message
        // box inside the commit would take the editor's focus and commit it a second time.
        const QPersistentModelIndex cell(index);
        QMetaObject::invokeMethod(
            m_grid,
            [grid = m_grid, cell, refusal] {
                Messages().message(refusal, "提示", platform::MessageIcon::Information);
                if (cell.isValid()) grid->setActiveCell(cell.row(), cell.column());
            },
            Qt::QueuedConnection);
        return;
    }
    if (text == index.data(Qt::EditRole).toString()) return; // nothing changed: no edit to report
    model->setData(index, text, Qt::EditRole);
}

bool GridCellEditor::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_F7 || key == Qt::Key_F8) {
            // A name list attached to this editor handles the key itself (it filters first).
            Q_EMIT m_grid->lookupRequested(m_grid->currentRow(), m_grid->currentColumn(), key);
            return true;
        }
    }
    return QStyledItemDelegate::eventFilter(watched, event);
}

} // namespace ormex::module::frame
