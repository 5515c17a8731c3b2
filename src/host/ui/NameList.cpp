#include "NameList.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>

#include "db/Database.h"
#include "host/core/MemberLists.h"
#include "host/core/SqlText.h"
#include "platform/Text.h"

namespace ormex::host {

NameList::NameList(std::string databasePath) : m_path(std::move(databasePath))
{
    m_popup = new QListWidget;
    m_popup->setObjectName("nameList");
    m_popup->setWindowFlags(Qt::ToolTip | Qt::FramelessWindowHint);
    m_popup->setFocusPolicy(Qt::NoFocus);
    m_popup->setAttribute(Qt::WA_ShowWithoutActivating);
    QObject::connect(m_popup, &QListWidget::itemClicked, m_popup,
                     [this](QListWidgetItem* item) { choose(m_popup->row(item)); });
}

NameList::~NameList()
{
    detach();
    delete m_popup;
}

void NameList::attach(QWidget* field, int rows)
{
    detach();
    m_field = qobject_cast<QLineEdit*>(field);
    m_rows = rows > 0 ? rows : 18;
    if (m_field) m_field->installEventFilter(this);
}

void NameList::detach()
{
    if (m_field) m_field->removeEventFilter(this);
    m_field.clear();
    m_popup->hide();
}

void NameList::showNameListWindow()
{
    m_ok = false;
    if (!m_field) return;
    const std::string text = platform::trim(m_field->text().toStdString());
    if (text.empty()) {
        m_popup->hide();
        return;
    }
    const std::string starts = quoted(text + "%");
    std::string condition = "(FCardId like " + starts + " or FCardFlowno like " + starts +
                            " or mobile like " + starts + " or FVipName like " + starts + ")";
    if (!platform::trim(m_filter).empty()) condition = "(" + m_filter + ") and " + condition;
    try {
        m_records = db::Database::open(m_path)
                        ->query(memberListSql(50, condition) + " order by FCardId")
                        .toRecordList();
    } catch (const std::exception&) {
        m_records.clear();
    }
    if (m_records.size() > static_cast<std::size_t>(m_rows))
        m_records.resize(static_cast<std::size_t>(m_rows));
    m_popup->clear();
    for (const auto& record : m_records)
        m_popup->addItem(QString::fromStdString(record.text("FCardId") + "  " + record.text("FVipName") +
                                                "  " + record.text("mobile")));
    if (m_records.empty()) {
        m_popup->hide();
        return;
    }
    const QPoint below = m_field->mapToGlobal(QPoint(0, m_field->height()));
    m_popup->setGeometry(below.x(), below.y(), std::max(m_field->width(), 320),
                         std::min(static_cast<int>(m_records.size()), 8) * 22 + 6);
    m_popup->show();
}

void NameList::choose(int row)
{
    if (row < 0 || static_cast<std::size_t>(row) >= m_records.size()) return;
    m_chosen = m_records[static_cast<std::size_t>(row)];
    m_ok = true;
    m_popup->hide();
    if (m_field) m_field->setText(QString::fromStdString(m_chosen.text("FCardId")));
}

bool NameList::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && m_popup->isVisible()) {
        if (event->type() == QEvent::FocusOut) {
            m_popup->hide();
        } else if (event->type() == QEvent::KeyPress) {
            auto* key = static_cast<QKeyEvent*>(event);
            const int row = m_popup->currentRow();
            switch (key->key()) {
            case Qt::Key_Down:
                m_popup->setCurrentRow(std::min(row + 1, m_popup->count() - 1));
                return true;
            case Qt::Key_Up:
                m_popup->setCurrentRow(std::max(row - 1, 0));
                return true;
            case Qt::Key_Escape:
                m_popup->hide();
                return true;
            case Qt::Key_Return:
            case Qt::Key_Enter:
                if (row >= 0) choose(row);
                m_popup->hide();
                return false; // the field still sees Enter and runs its search
            default:
                break;
            }
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace ormex::host
