#include "GridCellEditor.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QRegularExpressionValidator>

#include <algorithm>

#include "Grid.h"
#include "platform/DateTime.h"
#include "platform/NumberText.h"

namespace ormex::module::frame {

GridCellEditor::GridCellEditor(Grid* grid) : QStyledItemDelegate(grid), m_grid(grid) {}

QString GridCellEditor::numberText(const QString& typed, int decimals, double minimum, double maximum)
{
    const auto number = platform::parseNumber(typed.trimmed().toStdString());
    if (!number) return {};
    const double value = std::clamp(*number, minimum, maximum);
    return QString::fromStdString(platform::formatFixed(value, decimals));
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
            const int decimals = column.type == CellType::Integer ? 0 : column.decimals;
            const QString sign = column.minimum < 0 ? QStringLiteral("-?") : QString();
            const QString fraction =
                decimals > 0 ? QStringLiteral("(\\.[0-9]{0,%1})?").arg(decimals) : QString();
            edit->setValidator(
                new QRegularExpressionValidator(QRegularExpression(sign + "[0-9]*" + fraction), edit));
            edit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        } else if (column.type == CellType::Date) {
            edit->setValidator(new QRegularExpressionValidator(
                QRegularExpression(QStringLiteral("[0-9]{0,4}(-[0-9]{0,2}(-[0-9]{0,2})?)?")), edit));
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
    if (isNumberType(column.type)) {
        text = numberText(text, column.type == CellType::Integer ? 0 : column.decimals, column.minimum,
                          column.maximum);
    } else if (column.type == CellType::Date && !text.trimmed().isEmpty()) {
        // A date that is not one keeps the cell as it was.
        const auto date = platform::parseDate(text.trimmed().toStdString());
        if (!date) return;
        text = QString::fromStdString(date->toString());
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
