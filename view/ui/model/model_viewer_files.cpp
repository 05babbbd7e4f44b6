#include <QClipboard>
#include <QGuiApplication>
#include <cmath>

#include "core/ui/command.h"
#include "render/figure_file.h"
#include "render/model/model_picture.h"
#include "view/ui/graph/graph_export.h"
#include "view/ui/look/fashion_dialog.h"
#include "view/ui/look/palette_box.h"
#include "view/ui/model/model_viewer.h"

namespace vyn {

namespace {

/// The values of a quantity side by side, for what only asks how they are spread.
std::shared_ptr<const image> image_of(const field_data<double>::Quantity& quantity) {
    const auto count = quantity.values.size();
    const auto width = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(count))));
    if (width == 0) return nullptr;
    const std::size_t height = (count + width - 1) / width;
    image values(static_cast<int>(width), static_cast<int>(height));
    values.name = quantity.name;
    values.unit = quantity.unit;
    for (std::size_t i = 0; i < width * height; ++i) {
        const auto x = static_cast<int>(i % width);
        const auto y = static_cast<int>(i / width);
        const bool seen = i < count && !std::isnan(quantity.values[i]);
        values.values()(x, y) = seen ? static_cast<float>(quantity.values[i]) : 0;
        values.mask()(x, y) = !seen;
    }
    return std::make_shared<const image>(std::move(values));
}

}  // namespace

Fashion ModelViewer::fashion() const {
    Fashion fashion;
    fashion.limits = display_.limits;
    fashion.palette = display_.palette;
    fashion.palette_style = display_.palette_style;
    return fashion;
}

void ModelViewer::edit_fashion() {
    if (!fashion_dialog_) {
        fashion_dialog_ = new QFashionDlg(fashion(), this);
        fashion_dialog_->setAttribute(Qt::WA_DeleteOnClose);
        fashion_dialog_->hide_iso_lines();
        connect(fashion_dialog_, &QFashionDlg::fashion_chosen, this, [this](const Fashion& chosen) {
            display_.palette = chosen.palette;
            display_.palette_style = chosen.palette_style;
            palettes_->refresh(*display_.palette);
            set_limits(chosen.limits);
        });
        const auto* quantity = model_ ? model_->mesh.find(display_.quantity) : nullptr;
        if (quantity) fashion_dialog_->set_picture(image_of(*quantity), nullptr);
    }
    fashion_dialog_->show();
    fashion_dialog_->raise();
}

void ModelViewer::copy_picture() {
    QGuiApplication::clipboard()->setImage(canvas_->picture());
}

void ModelViewer::save_picture() {
    const std::string file = ask_plot_file(this, tr("Save picture"), "model");
    if (file.empty() || !model_) return;
    attempt(this, tr("Save picture"), [&] { write_picture(file); });
}

void ModelViewer::write_picture(const std::string& file) {
    Progress quiet;
    FrameOptions frame;
    frame.limits = display_.limits;
    frame.palette = styled(*display_.palette, display_.palette_style);
    frame.iso_levels = display_.levels;
    ModelLook look;
    look.quantity = model_->mesh.find(display_.quantity);
    look.light = display_.light;
    look.edges = display_.edges;
    look.patches = display_.patches;
    look.hidden_zones = display_.hidden_zones;
    frame.colour_bar = look.quantity != nullptr;
    frame.label = display_.quantity;
    if (look.quantity && !look.quantity->unit.empty()) frame.label += ", " + look.quantity->unit;
    write_figure(model_figure(model_->mesh, model_->surface(), model_->prepared->normals,
                              canvas_->model_view(), look, frame, canvas_->overlays(), quiet),
                 file);
}

}  // namespace vyn
