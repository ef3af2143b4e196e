// The preview window.
#include "ui/channel_preview.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/lang.h"
#include "channels/video_params.h"
#include "ui/look.h"

namespace kv::ui {

PreviewWindow::PreviewWindow(QWidget* parent, const base::Language& lang) : QDialog(parent), lang_(lang) {
    setObjectName("frmPreview");
    setWindowTitle(Q(lang_.GetText(886)));
    auto* layout = new QVBoxLayout(this);
    auto* screen = new QLabel;
    screen->setObjectName("lbPreviewScreen");
    screen->setWordWrap(true);
    screen->setAlignment(Qt::AlignCenter);
    screen->setMinimumSize(360, 200);
    screen->setText(Q(lang_.GetText(915)));
    layout->addWidget(screen);
    values_ = new QLabel;
    values_->setObjectName("lbPreviewValues");
    values_->setTextFormat(Qt::RichText);
    layout->addWidget(values_);
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* close = new QPushButton(Icon("btn-close"), Q(lang_.GetText(864)));
    close->setObjectName("cmdPreviewClose");
    QObject::connect(close, &QPushButton::clicked, this, &QDialog::close);
    row->addWidget(close);
    layout->addLayout(row);
}

void PreviewWindow::show(const channels::ChannelRecord& r) {
    const auto line = [](const std::string& label, const std::string& value) {
        return QString("<tr><td><b>%1</b></td><td>&nbsp;&nbsp;%2</td></tr>")
            .arg(Q(label).toHtmlEscaped(), Q(value).toHtmlEscaped());
    };
    const std::string size = r.Size.substr(0, r.Size.find("||"));
    QString html = "<table>";
    html += line(lang_.GetText(135), r.IP + ":" + std::to_string(r.HTTPPort));
    html += line(lang_.GetText(139), r.FMT);
    html += line(lang_.GetText(140), size);
    html += line("FPS", channels::FpsLabel(r.FPS));
    html += line(lang_.GetText(355), channels::MaskSpecCameraValue(r.RateControl));
    html += line(lang_.GetText(356), channels::BitrateLabel(r.Bitrate));
    html += line(lang_.GetText(357), r.Quality < 0 ? "N/A" : std::to_string(r.Quality));
    html += line("GOP", r.GOP < 0 ? "N/A" : std::to_string(r.GOP));
    values_->setText(html + "</table>");
    QDialog::show();
    raise();
}

}  // namespace kv::ui
