#include "ScreenKeys.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QPointer>
#include <QTabBar>
#include <QTabWidget>

#include "module/widgets/InputField.h"

namespace ormex::module::frame {

namespace {

template <class T> T* ancestorOf(QWidget* widget)
{
    for (QWidget* w = widget; w; w = w->parentWidget())
        if (auto* found = qobject_cast<T*>(w)) return found;
    return nullptr;
}

// Watches the key presses of the whole application and acts on those aimed at its screen, so
// that controls added to the screen later (grid editors, tab pages) are covered as well.
class ScreenKeyFilter : public QObject
{
public:
    ScreenKeyFilter(QWidget& screen, QTabWidget* tabs) : QObject(&screen), m_screen(&screen), m_tabs(tabs)
    {
        qApp->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
        auto* widget = static_cast<QWidget*>(watched);
        if (!m_screen || (widget != m_screen && !m_screen->isAncestorOf(widget))) return false;
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab && (key->modifiers() & Qt::ControlModifier) && m_tabs &&
            m_tabs->count() > 0) {
            // A screen that holds its tabs still (a commit runs) keeps the key from switching too.
            if (!m_tabs->isEnabled() || !m_tabs->tabBar()->isEnabled()) return true;
            // Every tab is reached, one hidden from the operator as well: asked for, it shows.
            const int next = (m_tabs->currentIndex() + 1) % m_tabs->count();
            m_tabs->setTabVisible(next, true);
            m_tabs->setCurrentIndex(next);
            return true;
        }
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && movesOn(widget)) {
            QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
            QCoreApplication::sendEvent(widget, &tab);
            return true;
        }
        return false;
    }

private:
    static bool movesOn(QWidget* widget)
    {
        if (qobject_cast<QAbstractButton*>(widget) || ancestorOf<QAbstractItemView>(widget)) return false;
        if (auto* combo = ancestorOf<QComboBox>(widget); combo && combo->view()->isVisible()) return false;
        if (auto* field = ancestorOf<widgets::InputField>(widget); field && field->handlesEnter())
            return false;
        return true;
    }

    QPointer<QWidget> m_screen;
    QPointer<QTabWidget> m_tabs;
};

} // namespace

bool isCardNumberKey(char32_t ch)
{
    return (ch >= U'0' && ch <= U'9') || (ch >= U'a' && ch <= U'z') || (ch >= U'A' && ch <= U'Z') ||
           ch == U'\b';
}

void UseCardNumberKeys(widgets::InputField& field)
{
    field.setKeyFilter(&isCardNumberKey);
}

void InstallScreenKeys(QWidget& screen, QTabWidget* tabs)
{
    new ScreenKeyFilter(screen, tabs);
}

} // namespace ormex::module::frame
