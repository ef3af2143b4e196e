// Captions by mark, fonts by language, the icon set and the look shared by the forms.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>
#include <cstdint>
#include <string>

namespace kv::base {
class Language;
struct FontRule;
}  // namespace kv::base
class QAbstractButton;
class QLabel;
class QLineEdit;
class QObject;
class QWidget;

namespace kv::ui {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }

/// Marks a widget's fixed text: "CAPTION:id" sets text and tooltip, "TOOLTIP:id" the tooltip. A
/// menu entry takes its text from "CAPTION:id".
void SetMark(QObject* object, const char* key, int id);
inline void Caption(QObject* object, int id) { SetMark(object, "CAPTION", id); }
/// A label that takes the text of `id`.
QLabel* CaptionLabel(int id);
/// A line edit named for the tests and the tour.
QLineEdit* NamedEdit(const QString& name);
/// A colour of the system's notation (blue in the high byte) as Qt's.
QColor SystemColour(uint32_t bgr);
/// A colour square and its text, for the legends under the grids.
QWidget* LegendEntry(uint32_t bgr, int textId);
/// LoadLang's generic pass: every marked widget below `root` (and `root`) takes its text.
void ApplyCaptions(QWidget* root, const base::Language& lang);
/// ChangeCharSet: the font family of the language on the form.
void ApplyFont(QWidget* root, const base::FontRule& rule);
/// An icon of the set by name ("menu-server", "save-dirty" ...).
QIcon Icon(const char* name);
/// A picture file (a language's flag), or the set's blank flag.
QIcon FlagIcon(const std::string& path);
/// A save button's look: the save-dirty picture and the orange frame while its area waits to be
/// saved, the plain picture otherwise. A button that already shows the state is left alone.
void ShowSaveState(QAbstractButton* save, bool dirty);
/// The style sheet shared by the forms.
QString StyleSheet();

}  // namespace kv::ui
