// The PTZ tab's widgets, bound to the PTZ panel model.
#include "ui/ptz_panel.h"

#include <QAction>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/shell.h"
#include "base/lang.h"
#include "channels/ptz_panel.h"
#include "ui/look.h"

namespace kv::ui {
namespace {

QPushButton* button(const QString& name, int captionId, const char* icon = nullptr) {
    auto* b = new QPushButton;
    b->setObjectName(name);
    if (icon) b->setIcon(Icon(icon));
    Caption(b, captionId);
    return b;
}

// The glyphs of the direction pad in button order (left-top ... right-down, centre) and their
// tooltips.
const char* const kPadGlyphs[9] = {"\u2196", "\u2191", "\u2197", "\u2190", "\u2192",
                                   "\u2199", "\u2193", "\u2198", "\u25CF"};
const int kPadTips[9] = {491, 492, 493, 494, 495, 496, 497, 498, 918};
// Where each of them sits in the 3-by-3 pad: the centre button in the middle.
const int kPadCell[9][2] = {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 2}, {2, 0}, {2, 1}, {2, 2}, {1, 1}};
// The entries of the video view's pop-up menu, in the model's order.
const char* const kMenuNames[channels::kPtzMenuEntries] = {"mnu_LeftTop", "mnu_Top",      "mnu_RightTop",
                                                           "mnu_Left",    "mnu_Right",    "mnu_LeftDown",
                                                           "mnu_Down",    "mnu_RightDown", "mnu_Direct"};
const int kMenuTexts[channels::kPtzMenuEntries] = {491, 492, 493, 494, 495, 496, 497, 498, 918};

}  // namespace

PtzPanelWidget::PtzPanelWidget(channels::PtzPanel& model, app::ShellModel& shell, const base::Language& lang)
    : model_(model), shell_(shell), lang_(lang) {
    setObjectName("framePTZ");
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(10, 10, 10, 10);

    auto* top = new QHBoxLayout;
    top->addWidget(CaptionLabel(898));
    auto* channel = new QComboBox;
    channel->setObjectName("cmdPtesetCH");
    channel->setMinimumWidth(200);
    top->addWidget(channel);
    top->addSpacing(14);
    top->addWidget(CaptionLabel(899));
    auto* speed = new QComboBox;
    speed->setObjectName("cmbPtzSpeed");
    speed->setMinimumWidth(60);
    top->addWidget(speed);
    top->addSpacing(14);
    top->addWidget(CaptionLabel(900));
    auto* target = new QComboBox;
    target->setObjectName("cmbLensSource");
    top->addWidget(target);
    top->addStretch();
    auto* fisheye = new QLabel;
    fisheye->setObjectName("lbFisheyeMode");
    top->addWidget(fisheye);
    page->addLayout(top);

    auto* middle = new QHBoxLayout;
    // The camera's view: one pane, or four for a fisheye camera in quad mode.
    auto* view = new QFrame;
    view->setObjectName("frameVideo");
    view->setMinimumSize(360, 250);
    auto* vl = new QGridLayout(view);
    vl->setSpacing(2);
    vl->setContentsMargins(2, 2, 2, 2);
    QLabel* panes[4];
    for (int i = 0; i < 4; ++i) {
        panes[i] = new QLabel;
        panes[i]->setObjectName(QString("lbPane_%1").arg(i));
        panes[i]->setAlignment(Qt::AlignCenter);
        panes[i]->setProperty("pane", true);
        vl->addWidget(panes[i], i / 2, i % 2);
    }
    middle->addWidget(view, 1);
    // A right click on the view offers the moves of the pad.
    auto* menu = new QMenu(this);
    menu->setObjectName("mnuPTZ");
    QAction* entries[channels::kPtzMenuEntries];
    for (int i = 0; i < channels::kPtzMenuEntries; ++i) {
        entries[i] = menu->addAction(QString::fromUtf8(kPadGlyphs[i]));
        entries[i]->setObjectName(kMenuNames[i]);
        Caption(entries[i], kMenuTexts[i]);
        if (i == channels::mnu_Direct - 1) menu->addSeparator();
    }
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(view, &QWidget::customContextMenuRequested, this, [this, view, menu](const QPoint& at) {
        if (!model_.mnuOffered()) return;
        binder_.refresh();
        menu->popup(view->mapToGlobal(at));
    });

    auto* control = new QGroupBox;
    Caption(control, 882);
    auto* cl = new QVBoxLayout(control);
    auto* pad = new QGridLayout;
    pad->setSpacing(4);
    QPushButton* ptz[channels::kPtzButtons];
    for (int i = 0; i < 9; ++i) {
        ptz[i] = new QPushButton(QString::fromUtf8(kPadGlyphs[i]));
        ptz[i]->setObjectName(QString("cmdPTZ_%1").arg(i));
        ptz[i]->setProperty("pad", true);
        ptz[i]->setFixedSize(46, 40);
        SetMark(ptz[i], "TOOLTIP", kPadTips[i]);
        pad->addWidget(ptz[i], kPadCell[i][0], kPadCell[i][1]);
    }
    auto* padRow = new QHBoxLayout;
    padRow->addStretch();
    padRow->addLayout(pad);
    padRow->addStretch();
    cl->addLayout(padRow);
    // Zoom 9..11, focus 12..14, iris 15 and 16; the last of a row stops.
    auto* lens = new QGridLayout;
    const int rowIds[3] = {901, 902, 903};
    const int firstButton[3] = {9, 12, 15};
    const int buttonCount[3] = {3, 3, 2};
    const char* const glyphs[3] = {"+", "\u2212", "\u25A0"};
    for (int r = 0; r < 3; ++r) {
        lens->addWidget(CaptionLabel(rowIds[r]), r, 0);
        for (int k = 0; k < buttonCount[r]; ++k) {
            const int i = firstButton[r] + k;
            ptz[i] = new QPushButton(glyphs[k]);
            ptz[i]->setObjectName(QString("cmdPTZ_%1").arg(i));
            ptz[i]->setProperty("pad", true);
            ptz[i]->setFixedSize(46, 30);
            SetMark(ptz[i], "TOOLTIP", k == 2 ? 919 : rowIds[r]);
            lens->addWidget(ptz[i], r, k + 1);
        }
    }
    cl->addLayout(lens);
    ptz[17] = button("cmdPTZ_17", 911);
    cl->addWidget(ptz[17]);
    cl->addStretch();
    middle->addWidget(control);
    page->addLayout(middle, 1);

    auto* presets = new QGroupBox;
    Caption(presets, 904);
    auto* pl = new QHBoxLayout(presets);
    auto* grid = new QTableWidget(0, 2);
    grid->setObjectName("gridPresetList");
    grid->horizontalHeader()->setStretchLastSection(true);
    grid->verticalHeader()->setDefaultSectionSize(22);
    grid->setMinimumHeight(8 * 22 + 28);
    pl->addWidget(grid, 1);
    auto* side = new QVBoxLayout;
    auto* name = new QLineEdit;
    name->setObjectName("txtPreset");
    name->setMaxLength(40);
    side->addWidget(name);
    auto* buttons = new QGridLayout;
    const int presetIds[6] = {861, 905, 906, 860, 907, 908};
    const char* const presetIcons[6] = {"btn-delete", nullptr, nullptr, "btn-new", nullptr, nullptr};
    QPushButton* preset[6];
    for (int i = 0; i < 6; ++i) preset[i] = button(QString("cmdPreset_%1").arg(i), presetIds[i], presetIcons[i]);
    // New and store first, then going to a preset, then the list's own edits.
    buttons->addWidget(preset[channels::kPresetNew], 0, 0);
    buttons->addWidget(preset[channels::kPresetTake], 0, 1);
    buttons->addWidget(preset[channels::kPresetGoto], 1, 0);
    buttons->addWidget(preset[channels::kPresetSelect], 1, 1);
    buttons->addWidget(preset[channels::kPresetReadPositions], 2, 0);
    buttons->addWidget(preset[channels::kPresetRemove], 2, 1);
    QPushButton* list[3];
    list[channels::kPresetSave] = button("img_Preset_Btn_0", 811);
    list[channels::kPresetUp] = button("img_Preset_Btn_1", 909, "btn-up");
    list[channels::kPresetDown] = button("img_Preset_Btn_2", 910, "btn-down");
    buttons->addWidget(list[channels::kPresetUp], 3, 0);
    buttons->addWidget(list[channels::kPresetDown], 3, 1);
    side->addLayout(buttons);
    side->addStretch();
    list[channels::kPresetSave]->setIconSize(QSize(22, 22));
    side->addWidget(list[channels::kPresetSave]);
    pl->addLayout(side);
    page->addWidget(presets);

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    const auto chosen = [this] { return model_.channelChosen(); };
    binder_.combo(channel, model_.cmdPtesetCH, [this](int i) { model_.cmdPtesetCH_Click(i); });
    binder_.combo(speed, model_.cmbPtzSpeed, [this](int i) { model_.cmbPtzSpeed_Click(i); },
                  [this, chosen] { return chosen() && model_.cmbPtzSpeed.enabled; });
    binder_.combo(target, model_.cmbLensSource, [this](int i) { model_.cmbLensSource_Click(i); }, chosen);
    binder_.custom([this, fisheye] {
        const QString text = model_.fisheyeMode.empty()
                                 ? QString()
                                 : Q(lang_.GetText(916)) + ": " + Q(model_.fisheyeMode);
        fisheye->setText(text);
    });
    binder_.custom([this, panes] {
        const bool quad = model_.fisheyePanes == 4;
        const QString shown = Q(model_.cmdPtesetCH.text());
        for (int i = 0; i < 4; ++i) {
            panes[i]->setVisible(i == 0 || quad);
            panes[i]->setText(shown.isEmpty() ? QString() : quad ? QString("%1\n%2").arg(shown).arg(i + 1) : shown);
        }
    });
    for (int i = 0; i < channels::kPtzButtons; ++i)
        binder_.button(ptz[i], [this, i] { model_.cmdPTZ_Click(i); },
                       [this, i] { return model_.cmdPTZ[static_cast<size_t>(i)]; });
    for (int i = 0; i < channels::kPtzMenuEntries; ++i) {
        const auto entry = static_cast<channels::PtzMenu>(i);
        binder_.action(entries[i], [this, entry] { model_.mnu_Click(entry); },
                       [this, entry] { return model_.mnuEnabled(entry); });
    }
    binder_.grid(
        grid, [this] { return std::vector<std::string>{"ID", lang_.GetText(328)}; },
        [this] { return CellsOf(model_.gridPresetList); }, [this] { return model_.selectedPreset; },
        [this](int row) { model_.gridPresetList_Click(row); });
    grid->setColumnWidth(0, 50);
    // Characters a preset name cannot hold are refused: the field goes back to the model's text.
    binder_.text(name, [this] { return model_.txtPreset.text; },
                 [this](const std::string& t) { model_.txtPreset_Change(t); }, chosen);
    const auto selected = [this] { return model_.presetChosen(); };
    binder_.button(preset[channels::kPresetRemove], [this] { model_.cmdPreset_Click(channels::kPresetRemove); },
                   selected);
    binder_.button(preset[channels::kPresetGoto], [this] { model_.cmdPreset_Click(channels::kPresetGoto); }, selected);
    binder_.button(preset[channels::kPresetSelect], [this] { model_.cmdPreset_Click(channels::kPresetSelect); },
                   selected);
    binder_.button(preset[channels::kPresetNew], [this] { model_.cmdPreset_Click(channels::kPresetNew); },
                   [this] { return model_.canAddPreset(); });
    binder_.button(preset[channels::kPresetTake], [this] { model_.cmdPreset_Click(channels::kPresetTake); }, chosen);
    binder_.button(preset[channels::kPresetReadPositions],
                   [this] { model_.cmdPreset_Click(channels::kPresetReadPositions); }, chosen);
    binder_.button(list[channels::kPresetUp], [this] { model_.img_Preset_Btn_Click(channels::kPresetUp); },
                   selected);
    binder_.button(list[channels::kPresetDown], [this] { model_.img_Preset_Btn_Click(channels::kPresetDown); },
                   selected);
    QPushButton* save = list[channels::kPresetSave];
    binder_.button(save, [this] { model_.img_Preset_Btn_Click(channels::kPresetSave); },
                   [this] { return model_.canSavePresets(); });
    binder_.custom([this, save] {
        ShowSaveState(save, shell_.saveButtonPicture[app::area::kPresets] == app::kPictureDirty);
    });
}

}  // namespace kv::ui
