#pragma once

#include <QComboBox>

#include <string>
#include <vector>

namespace ormex::module::widgets {

// A drop-down list whose entries carry a code: each entry is the name padded with blanks, "|"
// and the code, as the system writes them. The list shows the name alone and keeps the whole
// entry; the code is the text after the first "|".
class CodeList : public QComboBox
{
public:
    explicit CodeList(const QString& objectName, QWidget* parent = nullptr);

    // Replaces the entries; with `empty` an empty entry comes first. Nothing is selected.
    void setEntries(const std::vector<std::string>& entries, bool empty = false);
    // The whole text of the chosen entry; "" when none is chosen.
    std::string entry() const;
    // The code of the chosen entry; "" when none is chosen or the entry has none.
    std::string code() const;
    // Chooses the entry with this code; none when no entry has it.
    void selectCode(const std::string& code);
};

} // namespace ormex::module::widgets
