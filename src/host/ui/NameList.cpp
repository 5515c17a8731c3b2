#include "NameList.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>

#include <vector>

#include "HostLog.h"
#include "host/core/CardMaintain.h"
#include "host/core/MemberLists.h"
#include "host/core/SqlText.h"
#include "platform/Text.h"
#include "sql/Database.h"
#include "store/SharedDatabases.h"

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

namespace {

// What a class lists: its rows, the fields the typed text is matched against, the key written
// into the field and the fields shown. Member cards are too many to list whole.
struct NameListClass
{
    int id;
    int table; // GetTableInfo number, or 0 for the member-card list
    std::vector<const char*> searched;
    const char* key;
    std::vector<const char*> shown;
    bool listWhole;
};

const NameListClass kClasses[] = {
    {50,
     0,
     {"FCardId", "FCardFlowno", "mobile", "FVipName"},
     "FCardId",
     {"FCardId", "FVipName", "mobile"},
     false},
    {51, platform::table::CardTypes, {"FTypeId", "type_name"}, "FTypeId", {"FTypeId", "type_name"}, true},
    {34, platform::table::PaymentMethods, {"FNumber", "FName"}, "FNumber", {"FNumber", "FName"}, true},
    {4,
     platform::table::Goods,
     {"FNumber", "FName", "FBarCode"},
     "FNumber",
     {"FNumber", "FName", "FUnit"},
     true},
    {5, platform::table::Warehouses, {"FNumber", "FName"}, "FNumber", {"FNumber", "FName"}, true},
};

const NameListClass* findClass(int id)
{
    for (const auto& c : kClasses)
        if (c.id == id) return &c;
    return nullptr;
}

} // namespace

void NameList::show(bool everything)
{
    m_ok = false;
    const NameListClass* list = findClass(m_classId);
    if (!m_field || !list) return;
    const std::string text = platform::trim(m_field->text().toStdString());
    if (text.empty() && !(everything && list->listWhole)) {
        m_popup->hide();
        return;
    }
    std::string condition;
    if (!text.empty()) {
        const std::string starts = platform::quoted(text + "%");
        for (const char* field : list->searched)
            condition += std::string(condition.empty() ? "(" : " or ") + field + " like " + starts;
        condition += ")";
    }
    if (list->table == platform::table::PaymentMethods)
        condition = condition.empty() ? "FDeleted=0" : "FDeleted=0 and " + condition;
    if (!platform::trim(m_filter).empty())
        condition = condition.empty() ? "(" + m_filter + ")" : "(" + m_filter + ") and " + condition;
    try {
        const std::string sql =
            list->table ? tableInfoSql(list->table, condition) : memberListSql(50, condition);
        m_records = db::sharedDatabase(m_path).query(sql + " order by " + list->key).toRecordList();
    } catch (const std::exception& error) {
        qCWarning(lcHost, "the name list where %s failed: %s", condition.c_str(), error.what());
        m_records.clear();
    }
    if (m_records.size() > static_cast<std::size_t>(m_rows))
        m_records.resize(static_cast<std::size_t>(m_rows));
    m_popup->clear();
    for (const auto& record : m_records) {
        std::string line;
        for (const char* field : list->shown)
            line += (line.empty() ? "" : "  ") + record.text(field);
        m_popup->addItem(QString::fromStdString(line));
    }
    if (m_records.empty()) {
        m_popup->hide();
        return;
    }
    const QPoint below = m_field->mapToGlobal(QPoint(0, m_field->height()));
    m_popup->setGeometry(below.x(), below.y(), std::max(m_field->width(), 320),
                         std::min(static_cast<int>(m_records.size()), 8) * 22 + 6);
    m_popup->show();
    if (everything) m_popup->setCurrentRow(0);
}

void NameList::choose(int row)
{
    if (row < 0 || static_cast<std::size_t>(row) >= m_records.size()) return;
    m_chosen = m_records[static_cast<std::size_t>(row)];
    m_ok = true;
    m_popup->hide();
    const NameListClass* list = findClass(m_classId);
    if (m_field && list) m_field->setText(QString::fromStdString(m_chosen.text(list->key)));
    if (m_onChosen) m_onChosen();
}

bool NameList::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_F8) {
        show(true);
        return true;
    }
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
