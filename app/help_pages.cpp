#include "app/help_pages.h"

#include <QLatin1String>
#include <QTabWidget>
#include <QWidget>

namespace vyn {

namespace {

struct Page {
    const char* shown_by;  ///< a class or an object name
    const char* name;
};

constexpr Page pages[] = {
    {"VYN log!", "window"},
    {"vyn::BasicPage", "experiment_pages"},
    {"vyn::RunPage", "run_of_points"},
    {"vyn::NewRunDialog", "run_of_points"},
    {"vyn::NewPointDialog", "window"},
    {"vyn::ExperimentTypeDialog", "experiment_pages"},
    {"vyn::QVynLiteAbout", "introduction"},
    {"vyn::QBusyBox", "window"},
    {"vyn::PointCheckDialog", "check"},
    {"vyn::QVynAlign", "dialogs"},
    {"vyn::QVynCamera", "dialogs"},
    {"vyn::QVynConvert", "dialogs"},
    {"vyn::QVynPaint", "dialogs"},
    {"vyn::QVynPaintCalibration", "dialogs"},
    {"vyn::QVynTest", "dialogs"},
    {"vyn::LightDialog", "light"},
    {"vyn::ReadingDialog", "formats"},
    {"vyn::UncertaintyDialog", "uncertainty"},
    {"vyn::PaintFitDialog", "pressure"},
    {"vyn::form_calibr_single", "in_situ"},
    {"vyn::PortEditor", "in_situ"},
    {"vyn::VynCalResults", "in_situ"},
    {"vyn::CameraCalibrationDialog", "model"},
    {"vyn::ResectionDialog", "model"},
    {"vyn::ModelViewer", "model"},
    {"vyn::AssociationPanel", "model"},
    {"vyn::MarkerFindingDialog", "markers"},
    {"vyn::MarkerOptionsDialog", "markers"},
    {"vyn::MarkerPairingDialog", "markers"},
    {"vyn::VynMarkerInfo", "markers"},
    {"vyn::MarkerTable", "markers"},
    {"vyn::ThresholdDialog", "regions"},
    {"vyn::GraphWindow", "graphs"},
    {"vyn::CellPanel", "texture"},
    {"vyn::PictureDialog", "viewer"},
    {"vyn::QFashionDlg", "viewer"},
    {"vyn::VynFieldViewer", "viewer"},
    {"vyn::VynLiteForm", "window"},
};

const char* page_of(const QWidget& widget) {
    const QString name = widget.objectName();
    for (const Page& page : pages)
        if (name == QLatin1String(page.shown_by) || widget.inherits(page.shown_by))
            return page.name;
    return nullptr;
}

}  // namespace

QString help_page_of(const QWidget* widget) {
    // Nothing of a tab need have the keyboard.
    if (widget && widget->isWindow())
        if (const auto* tabs = widget->findChild<const QTabWidget*>(QStringLiteral("vyn_tasks"));
            tabs && tabs->currentWidget())
            widget = tabs->currentWidget();
    for (; widget; widget = widget->parentWidget())
        if (const char* page = page_of(*widget)) return QLatin1String(page);
    return QStringLiteral("index");
}

}  // namespace vyn
