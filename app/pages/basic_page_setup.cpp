#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "align/ui/align_dialog.h"
#include "app/pages/basic_page.h"
#include "app/pages/card_grid.h"
#include "app/pages/field_preview.h"
#include "app/pages/image_card.h"
#include "app/pages/input_row.h"
#include "app/pages/reading_dialog.h"
#include "app/pages/record_group.h"
#include "app/pages/results_list.h"
#include "app/pages/saturation_row.h"
#include "app/pages/step_group.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/light_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/test_dialog.h"
#include "calib/ui/uncertainty_dialog.h"
#include "process/page/option_summary.h"
#include "process/page/page_rows.h"
#include "view/ui/association/resection_dialog.h"

namespace vyn {

void BasicPage::build(ExperimentType type) {
    type_ = type;
    cards_.clear();
    image_rows_.clear();
    records_.clear();

    auto* content = new QWidget(scroll_);
    auto* grid = new CardGrid(content);
    for (const PageCard& card : page_cards(type)) {
        cards_.push_back(new ImageCard(card, grid));
        grid->add(cards_.back());
        for (InputRow* row : cards_.back()->rows())
            connect_row(row);
        connect(cards_.back(), &ImageCard::view_wanted, this, &BasicPage::view);
        connect(cards_.back(), &ImageCard::settings_changed, this, &BasicPage::project_changed);
    }
    setFocusProxy(cards_.front()->rows().front());
    grid->add(camera_group());
    grid->add(option_group());
    auto* left = new QWidget(grid);
    steps_ = new StepGroup(page_cards(type).size() > 2, left);
    field_ = new FieldPreview(left);
    field_->hide();
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(steps_);
    column->addWidget(field_, 1);
    grid->add(left);
    connect(field_, &FieldPreview::clicked, this, [this] { view(image_names::field); });
    connect(steps_, &StepGroup::wanted, this, &BasicPage::run_step);
    results_ = new ResultsList(type, grid);
    grid->add(results_);
    connect(results_, &ResultsList::view_wanted, this, &BasicPage::view);

    remarks_ = new QLabel(content);
    remarks_->setObjectName(QStringLiteral("remarks"));
    remarks_->setWordWrap(true);
    remarks_->setTextFormat(Qt::RichText);
    remarks_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* layout = new QVBoxLayout(content);
    layout->addWidget(grid);
    layout->addWidget(remarks_);
    layout->addStretch(1);
    scroll_->setWidget(content);
}

QWidget* BasicPage::camera_group() {
    auto* group = new RecordGroup(tr("Camera, paint and model"), this);
    const std::vector<PageRow> flats = flat_rows(type_);
    for (std::size_t i = 0; i < flats.size(); ++i) {
        const bool signal = i == 0;
        auto* camera = group->add_button(
            signal ? "cam_sens_btn" : "cam_refe_btn",
            signal ? tr("Ca&mera...") : tr("&Reference camera..."),
            signal ? +[] { return camera_summary(vyn_db(), keys::sens_camera); }
                   : +[] { return camera_summary(vyn_db(), keys::refe_camera); });
        const std::string_view tree = flats[i].input.raw->camera;
        connect(camera, &QPushButton::clicked, this, [this, tree] { open_camera(tree, {}); });
        if (signal) {
            auto* calibrate = group->add_button("camera_cal_btn", tr("Calibrate camera..."), [] {
                return lens_summary(vyn_db(), keys::sens_camera);
            });
            connect(calibrate, &QPushButton::clicked, this, &BasicPage::calibrate_camera);
        }
        auto* row = new InputRow(flats[i], group);
        image_rows_.push_back(row);
        connect_row(row);
        connect(row, &InputRow::view_wanted, this,
                [this, image = flats[i].input.image] { view(image); });
        group->add_row(tr("%1:").arg(QString::fromStdString(flats[i].label)), row);
    }
    auto* paint = group->add_button("sens_paint_btn", tr("&Paint..."),
                                    [] { return paint_summary(vyn_db()); });
    connect(paint, &QPushButton::clicked, this, [this] { open_dialog<QVynPaint>(); });
    auto* reading = group->add_button("reading_btn", tr("Reading of files..."),
                                      [] { return reading_summary(vyn_db()); });
    connect(reading, &QPushButton::clicked, this, [this] { open_dialog<ReadingDialog>(); });
    add_model_rows(*group);
    group->fill_up();
    records_.push_back(group);
    return group;
}

void BasicPage::add_model_rows(RecordGroup& group) {
    mesh_row_ = new FileRow("mesh", {tr("Show the model")}, &group);
    model_markers_row_ = new FileRow("mesh_mark", {}, &group);
    group.add_row(tr("Mesh:"), mesh_row_);
    group.add_row(tr("3-D markers:"), model_markers_row_);
    connect(mesh_row_, &FileRow::view_wanted, this, [this] { view(model_result); });
    const auto connect_choice = [this](FileRow* row, ModelFile what) {
        for (const auto signal : {&FileRow::select_wanted, &FileRow::locate_wanted})
            connect(row, signal, this, [this, what] { Q_EMIT model_file_wanted(what); });
        connect(row, &FileRow::chosen, this,
                [this, what](const QString& file) { Q_EMIT model_file_chosen(what, file); });
        connect(row, &FileRow::remove_wanted, this,
                [this, what] { Q_EMIT model_file_chosen(what, QString()); });
    };
    connect_choice(mesh_row_, ModelFile::mesh);
    connect_choice(model_markers_row_, ModelFile::markers);
    auto* settings = group.add_button("resection_btn", tr("&3-D model..."),
                                      [] { return model_summary(vyn_db()); });
    connect(settings, &QPushButton::clicked, this, [this] { open_dialog<ResectionDialog>(); });
}

QWidget* BasicPage::option_group() {
    auto* group = new RecordGroup(tr("Conditions and options"), this);
    auto* test = group->add_button("test_btn", tr("&Test conditions..."),
                                   [] { return conditions_summary(vyn_db()); });
    connect(test, &QPushButton::clicked, this, [this] { open_dialog<QVynTest>(); });
    auto* light = group->add_button("light_btn", tr("Light an&d temperature..."),
                                    [] { return light_summary(vyn_db()); });
    connect(light, &QPushButton::clicked, this, [this] { open_dialog<LightDialog>(); });
    auto* map = new InputRow(temperature_row(), group);
    image_rows_.push_back(map);
    connect_row(map);
    connect(map, &InputRow::view_wanted, this, [this] { view(image_names::temperature_map); });
    group->add_row(tr("Temperature map:"), map);
    auto* align = group->add_button("align_btn", tr("Ali&gnment and filters..."),
                                    [] { return alignment_summary(vyn_db()); });
    connect(align, &QPushButton::clicked, this, [this] { open_dialog<QVynAlign>(); });
    auto* convert = group->add_button("convert_btn", tr("Con&vert..."),
                                      [] { return conversion_summary(vyn_db()); });
    connect(convert, &QPushButton::clicked, this, [this] { open_dialog<QVynConvert>(); });
    auto* uncertainty = group->add_button("uncertainty_btn", tr("&Uncertainty..."),
                                          [] { return uncertainty_summary(vyn_db()); });
    connect(uncertainty, &QPushButton::clicked, this, [this] { open_dialog<UncertaintyDialog>(); });
    saturation_ = new SaturationRow(group);
    group->add_wide(saturation_);
    connect(saturation_, &SaturationRow::changed, this, &BasicPage::load_pictures_anew);
    group->fill_up();
    records_.push_back(group);
    return group;
}

void BasicPage::connect_row(InputRow* row) {
    const PageRow place = row->row();
    connect(row, &InputRow::select_wanted, this, [this, place] { select_file(place); });
    connect(row, &InputRow::locate_wanted, this, [this, place] { locate_file(place); });
    connect(row, &InputRow::chosen, this,
            [this, place](const QString& file) { put_file(place.input, file.toStdString()); });
    connect(row, &InputRow::remove_wanted, this, [this, place] { put_file(place.input, {}); });
    connect(row, &InputRow::save_wanted, this, [this, place] { save_markers(place.input); });
    connect(row, &InputRow::reload_wanted, this,
            [this, place] { put_file(place.input, read(vyn_db(), place.input.file)); });
}

}  // namespace vyn
