#pragma once

class QTabWidget;
class QWidget;

namespace ormex::module::widgets {
class InputField;
}

// The keys every screen shares.
namespace ormex::module::frame {

// A character a card-number box accepts: a digit "0" to "9", an ASCII letter or Backspace.
bool isCardNumberKey(char32_t ch);

// Makes a field a card-number box: typed and pasted text keep only those characters.
void UseCardNumberKeys(widgets::InputField& field);

// Enter moves the focus to the next control, as Tab does; a field that runs something on Enter,
// a button, a drop-down list that is open and a grid keep their own meaning of Enter. With a tab
// control, Ctrl+Tab shows its next tab, from the last back to the first (a tab hidden from the
// operator included: reached this way, it shows), unless the tab bar is disabled. The keys act on every
// control of the screen, also those created later, for as long as the screen lives.
void InstallScreenKeys(QWidget& screen, QTabWidget* tabs = nullptr);

} // namespace ormex::module::frame
