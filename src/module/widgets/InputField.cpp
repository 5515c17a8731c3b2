#include "InputField.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QToolButton>
#include <QValidator>

namespace ormex::module::widgets {

InputField::InputField(const QString& objectName, const QString& caption, QWidget* parent) : QWidget(parent)
{
    setObjectName(objectName);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_caption = new QLabel(caption, this);
    m_caption->setObjectName(objectName + "_caption");
    m_caption->setMinimumWidth(84);
    m_edit = new QLineEdit(this);
    m_edit->setObjectName(objectName + "_edit");
    m_lookup = new QToolButton(this);
    m_lookup->setObjectName(objectName + "_lookup");
    m_lookup->setText(QStringLiteral("…"));
    m_lookup->setFocusPolicy(Qt::NoFocus);
    m_lookup->hide();
    layout->addWidget(m_caption);
    layout->addWidget(m_edit, 1);
    layout->addWidget(m_lookup);
    m_caption->setBuddy(m_edit);
    setFocusProxy(m_edit);

    connect(m_lookup, &QToolButton::clicked, this, &InputField::lookupRequested);
    connect(m_edit, &QLineEdit::returnPressed, this, &InputField::returnPressed);
    connect(m_edit, &QLineEdit::textEdited, this, &InputField::textEdited);
    m_edit->installEventFilter(this);
}

QString InputField::caption() const
{
    return m_caption->text();
}
void InputField::setCaption(const QString& caption)
{
    m_caption->setText(caption);
}
QString InputField::text() const
{
    return m_edit->text();
}
void InputField::setText(const QString& text)
{
    m_edit->setText(text);
}

void InputField::clear()
{
    m_edit->clear();
    m_itemId.clear();
}

bool InputField::handlesEnter() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&InputField::returnPressed));
}

void InputField::setLookupButton(bool shown)
{
    m_lookup->setVisible(shown);
}

void InputField::setReadOnlyDisplay(bool readOnly)
{
    // Display fields stay readable: read-only, out of the tab order, on the window's colour.
    m_edit->setReadOnly(readOnly);
    m_edit->setFocusPolicy(readOnly ? Qt::NoFocus : Qt::StrongFocus);
    QPalette palette = m_edit->palette();
    palette.setColor(QPalette::Base, readOnly ? palette.color(QPalette::Window).lighter(104)
                                              : QApplication::palette().color(QPalette::Base));
    m_edit->setPalette(palette);
}

void InputField::setPasswordMode(bool on)
{
    m_edit->setEchoMode(on ? QLineEdit::Password : QLineEdit::Normal);
}
void InputField::setMaxLength(int length)
{
    m_edit->setMaxLength(length);
}
namespace {

// Refuses any text holding a character the filter refuses, whether typed or pasted.
class KeyFilterValidator : public QValidator
{
public:
    KeyFilterValidator(std::function<bool(char32_t)> filter, QObject* parent)
        : QValidator(parent), m_filter(std::move(filter))
    {
    }
    State validate(QString& input, int&) const override
    {
        for (char32_t ch : input.toUcs4())
            if (!m_filter(ch)) return Invalid;
        return Acceptable;
    }

private:
    std::function<bool(char32_t)> m_filter;
};

} // namespace

void InputField::setKeyFilter(std::function<bool(char32_t)> filter)
{
    m_edit->setValidator(filter ? new KeyFilterValidator(std::move(filter), m_edit) : nullptr);
}

bool InputField::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_edit) {
        switch (event->type()) {
        case QEvent::FocusIn:
            Q_EMIT focusEntered();
            break;
        case QEvent::KeyRelease:
            Q_EMIT keyReleased();
            break;
        case QEvent::KeyPress: {
            auto* key = static_cast<QKeyEvent*>(event);
            if (key->key() == Qt::Key_F7) {
                Q_EMIT lookupRequested();
                return true;
            }
            break;
        }
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace ormex::module::widgets
