// The server page's widgets, bound to its model.
#include "ui/server_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "admin/server_page.h"
#include "app/shell.h"
#include "base/lang.h"
#include "ui/look.h"

namespace kv::ui {
namespace {

}  // namespace

ServerPage::ServerPage(admin::ServerPageModel& model, app::ShellModel& shell, const base::Language& lang)
    : model_(model), shell_(shell), lang_(lang) {
    setObjectName("frameSystem");
    auto* page = new QVBoxLayout(this);
    page->setContentsMargins(16, 12, 16, 10);

    auto* titleRow = new QHBoxLayout;
    auto* title = CaptionLabel(801);
    title->setObjectName("lbPageTitle");
    titleRow->addWidget(title);
    titleRow->addStretch();
    titleRow->addWidget(CaptionLabel(842));
    auto* gridTitle = new QLabel;
    gridTitle->setObjectName("gridTitle");
    titleRow->addWidget(gridTitle);
    page->addLayout(titleRow);

    auto* columns = new QHBoxLayout;
    columns->setSpacing(14);
    auto* left = new QVBoxLayout;

    // The service's identity.
    auto* info = new QGroupBox;
    Caption(info, 830);
    auto* il = new QFormLayout(info);
    auto* name = NamedEdit("txt_System_Service_0");
    il->addRow(CaptionLabel(328), name);
    auto* ip = NamedEdit("txt_System_Service_1");
    il->addRow(CaptionLabel(135), ip);
    auto* domain = NamedEdit("txt_System_Service_2");
    il->addRow(CaptionLabel(832), domain);
    auto* version = NamedEdit("txt_System_Service_3");
    il->addRow(CaptionLabel(833), version);
    auto* package = NamedEdit("txt_System_Service_4");
    il->addRow(CaptionLabel(834), package);
    auto* timeZone = NamedEdit("txt_System_Service_5");
    il->addRow(CaptionLabel(835), timeZone);
    auto* dstRow = new QHBoxLayout;
    auto* dst = new QCheckBox;
    dst->setObjectName("chkDST");
    Caption(dst, 836);
    dst->setEnabled(false);
    dstRow->addWidget(dst);
    dstRow->addWidget(CaptionLabel(837));
    auto* dstIndex = NamedEdit("txt_System_Service_6");
    dstIndex->setMaximumWidth(60);
    dstRow->addWidget(dstIndex);
    dstRow->addStretch();
    il->addRow(QString(), dstRow);
    left->addWidget(info);

    // Ports and their checks.
    auto* ports = new QGroupBox;
    Caption(ports, 838);
    auto* pl = new QFormLayout(ports);
    QLineEdit* port[2];
    QPushButton* check[2];
    for (int i = 0; i < 2; ++i) {
        port[i] = NamedEdit(i == 0 ? "Text1_0" : "Text1_1");
        port[i]->setMaximumWidth(110);
        check[i] = new QPushButton;
        check[i]->setObjectName(QString("lbSystem_PortCheck_%1").arg(i));
        check[i]->setIcon(Icon("btn-check"));
        Caption(check[i], 841);
        auto* row = new QHBoxLayout;
        row->addWidget(port[i]);
        row->addWidget(check[i]);
        row->addStretch();
        pl->addRow(CaptionLabel(i == 0 ? 839 : 840), row);
    }
    left->addWidget(ports);

    // The language of the service, and the client's own at once.
    auto* language = new QGroupBox;
    Caption(language, 9);
    auto* ll = new QHBoxLayout(language);
    auto* languageCombo = new QComboBox;
    languageCombo->setObjectName("imgCmbLanguage");
    languageCombo->setIconSize(QSize(24, 16));
    languageCombo->setMinimumWidth(180);
    ll->addWidget(languageCombo);
    auto* apply = new QPushButton;
    apply->setObjectName("cmd_System_1");
    apply->setIcon(Icon("btn-language"));
    Caption(apply, 846);
    ll->addWidget(apply);
    ll->addStretch();
    left->addWidget(language);

    // DDNS.
    auto* ddns = new QGroupBox;
    Caption(ddns, 842);
    auto* dl = new QFormLayout(ddns);
    auto* chkDDNS = new QCheckBox;
    chkDDNS->setObjectName("chkDDNS");
    Caption(chkDDNS, 843);
    dl->addRow(QString(), chkDDNS);
    QLineEdit* txtDDNS[3];
    const int ddnsLabels[3] = {832, 849, 11};
    for (int i = 0; i < 3; ++i) {
        txtDDNS[i] = NamedEdit(i == 0 ? "txtDDNS_0" : i == 1 ? "txtDDNS_1" : "txtDDNS_2");
        dl->addRow(CaptionLabel(ddnsLabels[i]), txtDDNS[i]);
    }
    txtDDNS[2]->setEchoMode(QLineEdit::Password);
    auto* test = new QPushButton;
    test->setObjectName("lbDDNS");
    test->setIcon(Icon("btn-test"));
    Caption(test, 844);
    auto* testRow = new QHBoxLayout;
    testRow->addWidget(test);
    testRow->addStretch();
    dl->addRow(QString(), testRow);
    left->addWidget(ddns);
    left->addStretch();
    columns->addLayout(left, 5);

    auto* right = new QVBoxLayout;
    auto* status = new QGroupBox;
    Caption(status, 855);
    auto* sl = new QFormLayout(status);
    auto* cpu = new QLabel;
    cpu->setObjectName("lbCPUUsage");
    sl->addRow(CaptionLabel(845), cpu);
    auto* http = new QLabel;
    http->setObjectName("lbHTTPState");
    sl->addRow(http);
    right->addWidget(status);
    auto* overview = new QGroupBox;
    Caption(overview, 848);
    auto* ol = new QVBoxLayout(overview);
    auto* grid = new QTableWidget(0, admin::ServerPageModel::kOverviewColumns);
    grid->setObjectName("gridSystemChannel");
    grid->verticalHeader()->setDefaultSectionSize(22);
    // Twenty-one rows in sight; the rest scrolls.
    grid->setMinimumHeight(admin::ServerPageModel::kOverviewVisibleRows * 22 + 30);
    ol->addWidget(grid);
    right->addWidget(overview, 1);
    columns->addLayout(right, 6);
    page->addLayout(columns, 1);

    auto* saveRow = new QHBoxLayout;
    saveRow->addStretch();
    auto* save = new QPushButton;
    save->setObjectName("cmd_System_0");
    save->setIconSize(QSize(22, 22));
    save->setMinimumWidth(130);
    Caption(save, 811);
    saveRow->addWidget(save);
    page->addLayout(saveRow);

    binder_.afterAction = [this] {
        if (afterAction) afterAction();
    };
    binder_.label(gridTitle, [this] { return model_.gridTitle; });
    binder_.text(name, [this] { return model_.txtName; }, [this](const std::string& t) { model_.txt_System_Service_Change(t); });
    binder_.text(ip, [this] { return model_.txtIP; });
    binder_.text(domain, [this] { return model_.txtDomainName; });
    binder_.text(version, [this] { return model_.txtVersion; });
    binder_.text(package, [this] { return model_.txtPackageVersion; });
    binder_.text(timeZone, [this] { return model_.txtTimeZone; });
    binder_.custom([this, dst] {
        if (dst->isChecked() != model_.chkDST) dst->setChecked(model_.chkDST);
    });
    binder_.text(dstIndex, [this] { return model_.txtDSTIndex; });
    for (int i = 0; i < 2; ++i) {
        binder_.text(port[i], [this, i] { return model_.Text1[static_cast<size_t>(i)]; },
                     [this, i](const std::string& t) { model_.Text1_Change(i, t); });
        binder_.button(check[i], [this, i] { model_.lbSystem_PortCheck_Click(i); });
    }
    binder_.combo(
        languageCombo,
        [this] {
            std::vector<std::string> items;
            for (const auto& l : model_.languageItems) items.push_back(l.name);
            return items;
        },
        [this] { return model_.languageIndex; }, [this](int i) { model_.imgCmbLanguage_Click(i); }, {},
        [this](size_t i) { return i < model_.languageItems.size() ? FlagIcon(model_.languageItems[i].flag) : QIcon(); });
    binder_.button(apply, [this] { model_.cmd_System_Click(1); }, [this] { return model_.canApplyLanguage(); });
    binder_.check(chkDDNS, [this] { return model_.chkDDNS; }, [this](bool on) { model_.chkDDNS_Click(on); });
    for (int i = 0; i < 3; ++i)
        binder_.text(txtDDNS[i], [this, i] { return model_.txtDDNS[static_cast<size_t>(i)]; },
                     [this, i](const std::string& t) { model_.txtDDNS_Change(i, t); },
                     [this] { return model_.ddnsFieldsEnabled; });
    binder_.button(test, [this] { model_.lbDDNS_Click(); }, [this] { return model_.ddnsFieldsEnabled; });
    binder_.label(cpu, [this] { return model_.cpuText; });
    binder_.label(http, [this] { return model_.httpText; });
    binder_.grid(
        grid,
        [this] {
            const auto h = model_.overviewHeadings();
            return std::vector<std::string>(h.begin(), h.end());
        },
        [this] { return CellsOf(model_.channelGrid); });
    // The name takes what the fixed columns leave.
    grid->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    const int widths[admin::ServerPageModel::kOverviewColumns] = {40, 0, 112, 66, 92, 92};
    for (int c = 0; c < admin::ServerPageModel::kOverviewColumns; ++c)
        if (widths[c] > 0) grid->setColumnWidth(c, widths[c]);
    // The save button says whether something waits to be saved.
    binder_.button(save, [this] { model_.cmd_System_Click(0); }, [this] { return model_.dirty(); });
    binder_.custom([this, save] {
        const bool dirty = shell_.saveButtonPicture[app::area::kServer] == app::kPictureDirty;
        ShowSaveState(save, dirty);
        if (const QString tip = Q(lang_.GetText(dirty ? 871 : 872)); save->toolTip() != tip) save->setToolTip(tip);
    });
}

}  // namespace kv::ui
