#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QMessageBox>
#include <QStatusBar>

#include "api/quantity.h"
#include "view/probe_text.h"
#include "view/ui/window/field_viewer_parts.h"

namespace vyn {

namespace {

/// Its value at a pixel; nothing where there is none.
std::optional<float> value_of(const std::shared_ptr<const image>& picture, int x, int y) {
    if (!picture || picture->mask()(x, y) != 0) return std::nullopt;
    return picture->values()(x, y);
}

}  // namespace

Worker& VynFieldViewer::worker() const {
    return parts_->worker;
}
VynFieldView& VynFieldViewer::view() const {
    return *parts_->view;
}
const ViewerActions& VynFieldViewer::actions() const {
    return parts_->actions;
}
QMenu& VynFieldViewer::image_menu() const {
    return *parts_->image_menu;
}
QMenu& VynFieldViewer::marker_menu() const {
    return *parts_->marker_menu;
}
const std::string& VynFieldViewer::image_name() const {
    return parts_->image_name;
}
bool VynFieldViewer::shows_project_image(const std::string& name) const {
    return parts_->list.get() == &get_images() && parts_->image_name == name;
}
Hatching VynFieldViewer::hatching() const {
    return parts_->hatch.hatching();
}
bool VynFieldViewer::shows_per_cent() const {
    return parts_->per_cent;
}
PictureOrigin VynFieldViewer::origin() const {
    return parts_->origin;
}
std::shared_ptr<const image> VynFieldViewer::picture() const {
    return parts_->view->picture();
}
std::shared_ptr<const image> VynFieldViewer::beside(const std::string& name_end) const {
    const auto shown = picture();
    if (!shown || !parts_->list) return nullptr;
    const auto found = parts_->list->find(shown->name + name_end);
    return found && found->values().same_size(shown->values()) ? found : nullptr;
}
void VynFieldViewer::add_mode(QAction* action) {
    parts_->actions.modes->addAction(action);
}
MouseMode VynFieldViewer::mode() const {
    return parts_->mode;
}

bool VynFieldViewer::markers_hidden() const {
    return parts_->markers->hidden();
}

bool VynFieldViewer::may_discard() {
    if (!parts_->association->may_leave()) return false;
    if (!isWindowModified() || parts_->list.get() == &get_images()) return true;
    return QMessageBox::warning(this, tr("Warning!"),
                                tr("Markers or masks drawn on %1 are in no file and will be "
                                   "lost!\nOk to continue?")
                                    .arg(caption()),
                                QMessageBox::Yes | QMessageBox::No,
                                QMessageBox::No) == QMessageBox::Yes;
}

void VynFieldViewer::open() {
    parts_->files->open();
}
void VynFieldViewer::open_file(const QString& file) {
    parts_->files->open_file(file);
}
void VynFieldViewer::save() {
    parts_->files->save();
}
void VynFieldViewer::saveAs() {
    parts_->files->save_as();
}
void VynFieldViewer::image_export() {
    parts_->files->export_picture();
}

void VynFieldViewer::fashion() {
    show_dialog(/*advanced=*/false);
}
void VynFieldViewer::advanced_fashion() {
    show_dialog(/*advanced=*/true);
}
void VynFieldViewer::zoom_one_to_one() {
    parts_->view->zoom_one_to_one();
}
void VynFieldViewer::zoom_fit() {
    parts_->view->fit();
}
void VynFieldViewer::vector_draw_enable(bool enable) {
    Fashion changed = parts_->view->fashion();
    changed.vectors.shown = enable;
    parts_->view->set_fashion(changed);
}
void VynFieldViewer::link_views(bool linked) {
    parts_->view_link->set_linked(linked);
}
void VynFieldViewer::blink(bool on) {
    compare(Comparison::Kind::blink, on);
}
void VynFieldViewer::difference(bool on) {
    compare(Comparison::Kind::difference, on);
}
void VynFieldViewer::copy_picture() {
    QApplication::clipboard()->setPixmap(centralWidget()->grab());
}
void VynFieldViewer::copy_pixel() {
    QApplication::clipboard()->setText(parts_->function_bar->pixel_as_text());
}

void VynFieldViewer::probe_mode() {
    set_mode(MouseMode::probe);
}
void VynFieldViewer::zoom_in_mode() {
    set_mode(MouseMode::zoom_in);
}
void VynFieldViewer::zoom_out_mode() {
    set_mode(MouseMode::zoom_out);
}
void VynFieldViewer::show_graph_mode() {
    set_mode(MouseMode::graph);
}
void VynFieldViewer::marker_add_mode() {
    set_mode(MouseMode::marker_add);
}
void VynFieldViewer::marker_move_mode() {
    set_mode(MouseMode::marker_move);
}
void VynFieldViewer::marker_revise_mode() {
    set_mode(MouseMode::marker_revise);
}
void VynFieldViewer::marker_toggle_mode() {
    set_mode(MouseMode::marker_toggle);
}
void VynFieldViewer::marker_edit_mode() {
    set_mode(MouseMode::marker_edit);
}
void VynFieldViewer::marker_del_mode() {
    set_mode(MouseMode::marker_delete);
}
void VynFieldViewer::revise_all_markers() {
    parts_->markers->revise_all();
}
void VynFieldViewer::load_markers() {
    parts_->markers->load();
}
void VynFieldViewer::save_markers() {
    parts_->markers->save();
}
void VynFieldViewer::clear_markers() {
    parts_->markers->clear();
}
void VynFieldViewer::abjust_markers_options() {
    parts_->markers->options();
}

void VynFieldViewer::show_probe(int x, int y, float value, bool background, bool in_roi,
                                bool has_vectors, float u, float v) {
    const ProbedPixel pixel{x, y, value, background, in_roi, has_vectors, u, v};
    const auto shown = picture();
    const std::string name = shown ? field_label(*shown).name : std::string();
    statusBar()->showMessage(
        QString::fromStdString(probe_text(pixel, name, value_of(beside("_sigma"), x, y))));
    parts_->function_bar->show_pixel(pixel);
}

void VynFieldViewer::setModifiedChanged(bool modified) {
    // Per cent of the field stand in for an image that keeps what was drawn on it.
    if (!parts_->per_cent) setWindowModified(modified);
}

}  // namespace vyn
