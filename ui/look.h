// Captions by mark, fonts by language, the icon set and the look shared by the forms.
#pragma once

#include <QIcon>
#include <QString>
#include <string>

namespace kv::base {
class Language;
struct FontRule;
}  // namespace kv::base
class QWidget;

namespace kv::ui {

inline QString Q(const std::string& s) { return QString::fromStdString(s); }

/// Marks a widget's fixed text: "CAPTION:id" sets text and tooltip, "TOOLTIP:id" the tooltip.
void SetMark(QWidget* widget, const char* key, int id);
inline void Caption(QWidget* widget, int id) { SetMark(widget, "CAPTION", id); }
/// LoadLang's generic pass: every marked widget below `root` (and `root`) takes its text.
void ApplyCaptions(QWidget* root, const base::Language& lang);
/// ChangeCharSet: the font family of the language on the form.
void ApplyFont(QWidget* root, const base::FontRule& rule);
/// An icon of the set by name ("menu-server", "save-dirty" ...).
QIcon Icon(const char* name);
/// A picture file (a language's flag), or the set's blank flag.
QIcon FlagIcon(const std::string& path);
/// The style sheet shared by the forms.
QString StyleSheet();

}  // namespace kv::ui
