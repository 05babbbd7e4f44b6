#include "view/ui/look/advanced_fashion_dialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QRadioButton>
#include <QSignalBlocker>

#include "api/quantity.h"
#include "view/ui/look/histogram_plot.h"

namespace vyn {

QAdvFashionDlg::QAdvFashionDlg(const Fashion& fashion, const std::vector<PictureChoice>& images,
                               QWidget* parent)
    : QFashionDlg(fashion, parent) {
    setWindowTitle(tr("Advanced Image Fashion"));
    setObjectName(QStringLiteral("QAdvFashionDlg"));
    set_limit_labels(tr("LimMin:"), tr("LimMax:"));
    histogram_ = new HistogramPlot;
    histogram_->setObjectName(QStringLiteral("histogram"));
    paint_grid().addWidget(histogram_, paint_grid().rowCount(), 0, 1, 3);
    connect(histogram_, &HistogramPlot::limits_dragged, this, [this](const Limits& limits) {
        Fashion changed = this->fashion();
        changed.limits = tidy(limits);
        choose(changed);
    });
    connect(this, &QFashionDlg::fashion_chosen, histogram_,
            [this](const Fashion& chosen) { histogram_->set_limits(chosen.limits); });
    groups().addWidget(make_channel_group(images));
    show_fashion(fashion);
}

QGroupBox* QAdvFashionDlg::make_channel_group(const std::vector<PictureChoice>& images) {
    auto* group = new QGroupBox(tr("RGB Mode:"));
    auto* grid = new QGridLayout(group);
    shown_ = new QButtonGroup(this);
    auto* colour = new QRadioButton(tr("Color Mode"));
    colour->setToolTip(tr("Channels 1, 2 and 3 as red, green and blue, values 0 to 255"));
    shown_->addButton(colour, ColourChannels::colour);
    grid->addWidget(colour, 0, 0);
    for (int k = 1; k <= ColourChannels::count; ++k) {
        auto* radio = new QRadioButton(tr("Channel %1").arg(k));
        radio->setToolTip(tr("This image alone in false colour"));
        shown_->addButton(radio, k);
        grid->addWidget(radio, k, 0);
        auto* box = new QComboBox;
        box->setObjectName(QStringLiteral("channel_%1").arg(k));
        box->addItem(k == 1 ? tr("(this image)") : tr("(none)"), QString());
        if (k == 1)
            box->setEnabled(false);
        else
            for (const PictureChoice& choice : images)
                box->addItem(choice.label, QString::fromStdString(choice.name));
        grid->addWidget(box, k, 1);
        connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
                &QAdvFashionDlg::channels_changed);
        channels_[static_cast<std::size_t>(k - 1)] = box;
    }
    grid->setColumnStretch(1, 1);
    connect(shown_, QOverload<int>::of(&QButtonGroup::idClicked), this,
            &QAdvFashionDlg::channels_changed);
    return group;
}

void QAdvFashionDlg::show_values(const PictureValues& values) {
    QFashionDlg::show_values(values);
    histogram_->set_histogram(
        values.histogram,
        values.picture ? QString::fromStdString(field_label(*values.picture).text()) : QString());
}

void QAdvFashionDlg::show_fashion(const Fashion& fashion) {
    QFashionDlg::show_fashion(fashion);
    histogram_->set_limits(fashion.limits);
    shown_->button(fashion.channels.shown)->setChecked(true);
    for (std::size_t k = 0; k < channels_.size(); ++k) {
        const QSignalBlocker quiet(channels_[k]);
        const QString name = QString::fromStdString(fashion.channels.names[k]);
        channels_[k]->setCurrentIndex(std::max(0, channels_[k]->findData(name)));
    }
    for (int k = 2; k <= ColourChannels::count; ++k)
        shown_->button(k)->setEnabled(channels_[static_cast<std::size_t>(k - 1)]->currentIndex() >
                                      0);
}

void QAdvFashionDlg::channels_changed() {
    Fashion changed = fashion();
    for (std::size_t k = 0; k < channels_.size(); ++k)
        changed.channels.names[k] = channels_[k]->currentData().toString().toStdString();
    changed.channels.shown = shown_->checkedId();
    const auto shown = static_cast<std::size_t>(changed.channels.shown);
    if (shown > 1 && changed.channels.names[shown - 1].empty()) changed.channels.shown = 1;
    choose(changed);
}

}  // namespace vyn
