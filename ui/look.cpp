// Captions, fonts, icons and the style sheet.
#include "ui/look.h"

#include <QAbstractButton>
#include <QAction>
#include <QFile>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QVariant>
#include <QWidget>

#include "app/shell.h"
#include "base/lang.h"

namespace kv::ui {

void SetMark(QObject* object, const char* key, int id) {
    object->setProperty("tag", QString("%1:%2").arg(key).arg(id));
}

QLabel* CaptionLabel(int id) {
    auto* l = new QLabel;
    Caption(l, id);
    return l;
}

QLineEdit* NamedEdit(const QString& name) {
    auto* e = new QLineEdit;
    e->setObjectName(name);
    return e;
}

QColor SystemColour(uint32_t bgr) { return QColor::fromRgb(app::RgbOf(bgr)); }

QWidget* LegendEntry(uint32_t bgr, int textId) {
    auto* w = new QWidget;
    auto* l = new QHBoxLayout(w);
    l->setContentsMargins(0, 0, 8, 0);
    l->setSpacing(4);
    auto* swatch = new QLabel;
    swatch->setFixedSize(14, 14);
    swatch->setStyleSheet(QString("background: %1; border: 1px solid #9aa3ad;").arg(SystemColour(bgr).name()));
    l->addWidget(swatch);
    l->addWidget(CaptionLabel(textId));
    return w;
}

namespace {

void setCaption(QWidget* w, const QString& text) {
    if (auto* l = qobject_cast<QLabel*>(w)) l->setText(text);
    else if (auto* b = qobject_cast<QAbstractButton*>(w)) b->setText(text);
    else if (auto* g = qobject_cast<QGroupBox*>(w)) g->setTitle(text);
    else if (auto* e = qobject_cast<QLineEdit*>(w)) e->setPlaceholderText(text);
    if (w->isWindow()) w->setWindowTitle(text);
}

void applyMark(QWidget* w, const base::Language& lang) {
    const QVariant tag = w->property("tag");
    if (!tag.isValid()) return;
    const std::string mark = tag.toString().toStdString();
    if (mark.empty()) return;
    const base::CaptionMark m = base::ParseCaptionMark(mark);
    const QString text = Q(lang.GetText(m.id));
    switch (m.kind) {
        case base::CaptionMark::Kind::Caption:
            setCaption(w, text);
            w->setToolTip(text);
            break;
        case base::CaptionMark::Kind::Tooltip: w->setToolTip(text); break;
        case base::CaptionMark::Kind::None: break;
    }
}

}  // namespace

void ApplyCaptions(QWidget* root, const base::Language& lang) {
    if (!root) return;
    applyMark(root, lang);
    for (QWidget* w : root->findChildren<QWidget*>()) applyMark(w, lang);
    // Menu entries carry their caption mark as widgets do.
    for (QAction* a : root->findChildren<QAction*>()) {
        const QVariant tag = a->property("tag");
        if (!tag.isValid()) continue;
        const base::CaptionMark m = base::ParseCaptionMark(tag.toString().toStdString());
        if (m.kind == base::CaptionMark::Kind::Caption) a->setText(Q(lang.GetText(m.id)));
    }
}

void ApplyFont(QWidget* root, const base::FontRule& rule) {
    if (!root || rule.fontName.empty()) return;
    QFont f = root->font();
    f.setFamilies({Q(rule.fontName), "DejaVu Sans", "Sans Serif"});
    root->setFont(f);
}

QIcon Icon(const char* name) { return QIcon(QString(":/icons/%1.svg").arg(name)); }

QIcon FlagIcon(const std::string& path) {
    if (!path.empty() && QFile::exists(Q(path))) return QIcon(Q(path));
    return Icon("flag-none");
}

void ShowSaveState(QAbstractButton* save, bool dirty) {
    const QVariant shown = save->property("dirty");
    if (shown.isValid() && shown.toBool() == dirty) return;
    save->setIcon(Icon(dirty ? "save-dirty" : "save-clean"));
    save->setProperty("dirty", dirty);
    save->style()->unpolish(save);
    save->style()->polish(save);
}

QString StyleSheet() {
    return R"(
QWidget#headerBar { background: #2f5d9e; }
QWidget#headerBar QLabel { color: #ffffff; }
QLabel#lbTitle { font-size: 16pt; font-weight: bold; }
QWidget#menuBar { background: #f1f4f9; border-right: 1px solid #d3dae6; }
QToolButton[menu="true"] { border: none; padding: 7px 10px; text-align: left; font-size: 10.5pt; }
QToolButton[menu="true"][selected="true"] { background: #dce7f8; border-left: 4px solid #1f4fd1; font-weight: bold; }
QToolButton[menu="true"]:hover:enabled { background: #e6ecf6; }
QPushButton { padding: 5px 12px; }
QPushButton[dirty="true"] { background: #fff1dd; border: 2px solid #e8870e; border-radius: 4px; font-weight: bold; color: #7a3e00; }
QLabel[status="true"] { background: #f6f7f9; border-top: 1px solid #d3dae6; padding: 4px 8px; color: #233; }
QFrame#frameCloseProgress { background: #ffffff; border: 2px solid #2f5d9e; border-radius: 8px; }
QLabel#lbPageTitle { font-size: 14pt; font-weight: bold; color: #2f5d9e; }
QGroupBox { border: 1px solid #d3dae6; border-radius: 6px; margin-top: 12px; padding-top: 6px; }
QGroupBox::title { subcontrol-origin: margin; left: 10px; padding: 0 4px; color: #2f5d9e; }
QLineEdit:read-only { background: #f3f4f6; color: #333; }
QTableWidget { gridline-color: #e1e5ec; }
QHeaderView::section { background: #eef2f8; border: none; border-right: 1px solid #d3dae6; border-bottom: 1px solid #d3dae6; padding: 3px 6px; font-weight: bold; }
)";
}

}  // namespace kv::ui
