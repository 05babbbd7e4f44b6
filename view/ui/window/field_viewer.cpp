#include "view/ui/window/field_viewer.h"

#include <QAction>
#include <QEvent>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QStatusBar>
#include <utility>

#include "api/quantity.h"
#include "core/errors.h"
#include "core/keys.h"
#include "render/difference.h"
#include "render/prepared_picture.h"
#include "render/ticks.h"
#include "uncertainty/relative_sigma.h"
#include "view/ui/look/advanced_fashion_dialog.h"
#include "view/ui/window/field_viewer_parts.h"

namespace vyn {

VynFieldViewer::VynFieldViewer(Worker& worker, const std::string& image_name, bool flag,
                               const QString& title, QWidget* parent)
    : PictureWindow(parent), parts_(std::make_unique<Parts>(*this, worker)) {
    setObjectName(QStringLiteral("VynFieldViewer"));
    setAttribute(Qt::WA_DeleteOnClose);
    make_panels();
    make_bars();
    make_modes();
    connect_view();
    restore_layout();
    show_from({std::shared_ptr<void>(), &get_images()}, image_name,
              flag ? PictureOrigin::camera : PictureOrigin::computed, title);
    VynFieldViewer::set_mode(MouseMode::probe);  // not what a child makes of it
}

VynFieldViewer::~VynFieldViewer() {
    // What draws on the view goes before it does.
    parts_->view->set_tool(nullptr);
    parts_->view->remove_overlay(&parts_->hatch);
    delete parts_->fashion_dialog;
    delete parts_->region;
    delete parts_->association;
    delete parts_->graph;
    delete parts_->markers;
    parts_->comparison->disconnect(this);
    parts_->view->disconnect(this);
}

void VynFieldViewer::show_from(std::shared_ptr<imagesList> list, const std::string& name,
                               PictureOrigin origin, const QString& title) {
    parts_->comparison->stop();
    delete parts_->fashion_dialog;  // its Cancel would bring back the limits of the image before
    parts_->list = std::move(list);
    parts_->image_name = name;
    parts_->origin = origin;
    parts_->title = title;
    parts_->out_of_date.clear();
    parts_->fashion_suggested = false;
    parts_->files->forget();
    setWindowModified(false);
    parts_->watcher.watch(parts_->list, name);
    parts_->per_cent = false;
    parts_->other_look.reset();
    parts_->field_watcher.watch(parts_->list, field_of_sigma(name));
    // What is shown must never pass for the image of that name.
    show_nothing(tr("Preparing the image..."));
    follow_image();
}

void VynFieldViewer::follow_image() {
    const auto picture = parts_->watcher.current();
    const QString objection = parts_->per_cent ? objection_to_per_cent() : QString();
    if (picture && objection.isEmpty()) return prepare(Preparation::when_for(*picture));
    parts_->preparation.cancel();
    if (picture)
        return show_nothing(tr("The image \"%1\" cannot be shown in per cent: %2.")
                                .arg(QString::fromStdString(parts_->image_name), objection));
    show_nothing(tr("The image \"%1\" is not there any more.\nIt is shown again as soon as it is.")
                     .arg(QString::fromStdString(parts_->image_name)));
}

void VynFieldViewer::prepare(Preparation::When when) {
    const auto picture = parts_->watcher.current();
    const auto field = parts_->per_cent ? parts_->field_watcher.current() : nullptr;
    const auto earlier = parts_->view->levels();
    const bool with_limits = !parts_->fashion_suggested;
    if (earlier && earlier->picture().shares_planes_with(*picture))
        when = Preparation::When::at_once;
    parts_->preparation.start(
        when,
        [picture, field, earlier, with_limits](Progress& progress) {
            const auto shown =
                field ? std::make_shared<const image>(per_cent_of_field(*picture, *field))
                      : picture;
            return prepare_picture(shown, earlier.get(), with_limits, progress);
        },
        [this](std::future<PreparedPicture> prepared) {
            try {
                show_prepared(prepared.get());
            } catch (const std::exception& error) {
                show_nothing(tr("The image \"%1\" cannot be shown: %2")
                                 .arg(QString::fromStdString(parts_->image_name),
                                      QString::fromStdString(error.what())));
            }
        });
}

void VynFieldViewer::show_prepared(const PreparedPicture& prepared) {
    if (prepared.limits) suggest_fashion(prepared.levels->picture(), *prepared.limits);
    parts_->view->set_picture(prepared.levels);
}

void VynFieldViewer::show_nothing(const QString& why) {
    parts_->view->set_message(why);
    parts_->view->set_picture(nullptr);
}

QString VynFieldViewer::objection_to_per_cent() const {
    const auto own = parts_->watcher.current();
    if (!own) return tr("there is no image");
    return QString::fromStdString(
        vyn::objection_to_per_cent(*own, parts_->field_watcher.current().get()));
}

void VynFieldViewer::show_per_cent(bool on) {
    if (on == parts_->per_cent) return;
    parts_->comparison->stop();
    delete parts_->fashion_dialog;  // its Cancel would bring back the limits of the other choice
    parts_->files->forget();
    parts_->per_cent = on;
    const Fashion shown = parts_->view->fashion();
    std::optional<Fashion> look = std::exchange(parts_->other_look, std::nullopt);
    if (parts_->fashion_suggested) parts_->other_look = shown;
    parts_->fashion_suggested = look.has_value();
    if (look) {
        Fashion fashion = shown;
        fashion.limits = look->limits;
        fashion.iso = look->iso;
        parts_->view->set_fashion(fashion);
    }
    follow_image();
}

void VynFieldViewer::suggest_fashion(const image& picture, const Limits& limits) {
    Fashion fashion = parts_->view->fashion();
    fashion.limits = tidy(limits);
    fashion.channels = {};
    if (const Ticks ticks = make_ticks(fashion.limits.minimum, fashion.limits.maximum, 11);
        ticks.step > 0)
        fashion.iso.step = ticks.step;
    // One that the user chose stays.
    if (parts_->suggested_palette.empty() || fashion.palette->name == parts_->suggested_palette) {
        parts_->suggested_palette = usual_palette(picture.quantity);
        if (const palette_array* palette = find_palette(parts_->suggested_palette))
            fashion.set_palette(*palette);
    }
    if (picture.displacement) {
        fashion.vectors = suggested_vectors(picture);
        fashion.vectors.shown = !picture.quantity.deviation;
    }
    parts_->fashion_suggested = true;
    parts_->view->set_fashion(fashion);
}

void VynFieldViewer::refresh() {
    parts_->comparison->picture_changed();
    apply_channels();
    parts_->colour_bar->set_label(quantity());
    parts_->function_bar->set_quantity(quantity());
    tell_dialog();
    enable_actions();
    show_title();
    parts_->markers->picture_changed();
    parts_->association->picture_changed();
    parts_->graph->picture_changed();
    parts_->region->picture_changed();
    const bool of_project = parts_->list.get() == &get_images();
    parts_->hatch.show(beside("_sigma"), [of_project] {
        return of_project ? read(std::as_const(vyn_db()), keys::uncertainty_limit) : 0;
    });
}

void VynFieldViewer::fashion_changed() {
    const Fashion& fashion = parts_->view->fashion();
    parts_->colour_bar->set_fashion(fashion);
    parts_->function_bar->show_fashion(fashion);
    parts_->actions.vector_draw_enable->setChecked(fashion.vectors.shown);
    if (parts_->fashion_dialog) parts_->fashion_dialog->show_fashion(fashion);
    apply_channels();
}

void VynFieldViewer::apply_channels() {
    if (parts_->comparison->kind() != Comparison::Kind::none || !parts_->view->levels()) return;
    parts_->view->show_instead(parts_->channels.source(parts_->view->fashion().channels,
                                                       parts_->view->levels(), *parts_->list));
}

void VynFieldViewer::show_title() {
    QString text = caption();
    const std::string project =
        parts_->list.get() == &get_images() ? read(std::as_const(vyn_db()), keys::head_file) : "";
    if (!project.empty())
        text += QStringLiteral(" - ") + QFileInfo(QString::fromStdString(project)).fileName();
    if (!parts_->out_of_date.isEmpty()) text += tr(" (out of date)");
    setWindowTitle(text + QStringLiteral("[*]"));
    if (!parts_->view->picture())
        parts_->state_label->setText(tr("No image"));
    else
        parts_->state_label->setText(parts_->out_of_date.isEmpty()
                                         ? QString()
                                         : tr("Out of date: %1").arg(parts_->out_of_date));
}

void VynFieldViewer::changeEvent(QEvent* event) {
    // The project may have been saved under another name.
    if (event->type() == QEvent::ActivationChange) show_title();
    QMainWindow::changeEvent(event);
}

void VynFieldViewer::enable_actions() {
    const bool shown = parts_->view->picture() != nullptr;
    const ViewerActions& a = parts_->actions;
    for (QAction* action :
         {a.save, a.save_as, a.image_export, a.fashion, a.advanced_fashion, a.zoom_one_to_one,
          a.zoom_fit, a.blink, a.difference, a.copy_picture, a.copy_pixel, a.revise_all_markers,
          a.load_markers, a.save_markers, a.clear_markers})
        action->setEnabled(shown);
    a.vector_draw_enable->setEnabled(shown && parts_->view->picture()->displacement);
    const QString objection = objection_to_per_cent();
    a.per_cent->setEnabled(parts_->per_cent || (shown && objection.isEmpty()));
    a.per_cent->setChecked(parts_->per_cent);
    a.per_cent->setToolTip(objection.isEmpty()
                               ? tr("Show the standard deviation in per cent of its field")
                               : tr("Not in per cent: %1").arg(objection));
    a.per_cent->setStatusTip(a.per_cent->toolTip());
}

void VynFieldViewer::set_mode(MouseMode mode) {
    parts_->mode = mode;
    const ViewerActions& a = parts_->actions;
    ViewTool* tool = &parts_->probe;
    QAction* action = nullptr;
    switch (mode) {
        case MouseMode::probe:
            action = a.probe_mode;
            break;
        case MouseMode::zoom_in:
            tool = &parts_->zoom_in, action = a.zoom_in_mode;
            break;
        case MouseMode::zoom_out:
            tool = &parts_->zoom_out, action = a.zoom_out_mode;
            break;
        case MouseMode::graph:
            tool = parts_->graph->tool(), action = a.show_graph_mode;
            break;
        case MouseMode::region:
            tool = parts_->region->tool();
            break;
        case MouseMode::associate:
            tool = parts_->association->tool();
            break;
        case MouseMode::marker_add:
            action = a.marker_add_mode;
            break;
        case MouseMode::marker_move:
            action = a.marker_move_mode;
            break;
        case MouseMode::marker_revise:
            action = a.marker_revise_mode;
            break;
        case MouseMode::marker_toggle:
            action = a.marker_toggle_mode;
            break;
        case MouseMode::marker_edit:
            action = a.marker_edit_mode;
            break;
        case MouseMode::marker_delete:
            action = a.marker_del_mode;
            break;
    }
    if (is_marker_mode(mode)) {
        tool = parts_->markers->tool(mode);
        parts_->markers->hide(false);
    }
    parts_->view->set_tool(tool);
    if (action) action->setChecked(true);
}

bool VynFieldViewer::may_edit() {
    const auto shown = picture();
    if (parts_->per_cent) {
        statusBar()->showMessage(
            tr("Per cent of the field can only be looked at: switch them off to change the image"));
        return false;
    }
    if (shown && parts_->list->find(parts_->image_name) == shown) return true;
    if (shown) statusBar()->showMessage(tr("A newer image is about to be shown"));
    return false;
}

void VynFieldViewer::replace_picture(image changed) {
    changed.name = parts_->image_name;
    parts_->list->add(std::move(changed));
    parts_->watcher.watch(parts_->list, parts_->image_name);
    // The user's next change builds upon this one.
    prepare(Preparation::When::at_once);
}

void VynFieldViewer::set_out_of_date(bool out_of_date, const QString& why) {
    parts_->out_of_date = !out_of_date ? QString() : why.isEmpty() ? tr("settings changed") : why;
    show_title();
}

std::shared_ptr<const image> VynFieldViewer::shown_picture() const {
    auto own = picture();
    const auto other = parts_->comparison->other();
    if (!own || !other) return own;
    if (parts_->comparison->kind() == Comparison::Kind::difference)
        return difference_of(*own, *other);
    return parts_->comparison->others_turn() ? other : own;
}

void VynFieldViewer::tell_dialog() {
    if (!parts_->fashion_dialog) return;
    const bool difference = parts_->comparison->kind() == Comparison::Kind::difference;
    if (difference)
        parts_->fashion_dialog->set_picture(picture(), parts_->comparison->other());
    else
        parts_->fashion_dialog->set_picture(shown_picture(), nullptr);
}

QString VynFieldViewer::caption() const {
    const QString name = QString::fromStdString(parts_->image_name);
    const QString title = parts_->title.isEmpty() ? name : parts_->title;
    const QString compared = parts_->comparison->caption();
    return compared.isEmpty() ? title : QStringLiteral("%1: %2").arg(title, compared);
}

QString VynFieldViewer::quantity() const {
    const auto shown = picture();
    return shown ? QString::fromStdString(field_label(*shown).text()) : QString();
}

void VynFieldViewer::show_dialog(bool advanced) {
    if (!picture()) return;
    delete parts_->fashion_dialog;
    const Fashion& fashion = parts_->view->fashion();
    std::vector<std::string> names = parts_->list->names();
    std::erase(names, parts_->image_name);
    QFashionDlg* dialog =
        advanced ? new QAdvFashionDlg(fashion, picture_choices(*parts_->list, names), this)
                 : new QFashionDlg(fashion, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFashionDlg::fashion_chosen, parts_->view, &VynFieldView::set_fashion);
    parts_->fashion_dialog = dialog;
    tell_dialog();
    dialog->show();
}

std::optional<std::string> VynFieldViewer::ask_for_image(const std::vector<std::string>& names) {
    const std::vector<PictureChoice> choices = picture_choices(*parts_->list, names);
    QStringList labels;
    for (const PictureChoice& choice : choices)
        labels << choice.label;
    bool chosen = false;
    const QString label =
        QInputDialog::getItem(this, tr("Compare"), tr("Compare with:"), labels, 0, false, &chosen);
    if (!chosen) return std::nullopt;
    return choices[static_cast<std::size_t>(labels.indexOf(label))].name;
}

void VynFieldViewer::compare(Comparison::Kind wanted, bool on) {
    parts_->comparison->stop();
    std::vector<std::string> names;
    for (const auto& other : parts_->list->all())
        if (other->name != parts_->image_name && Comparison::comparable(wanted, picture(), other))
            names.push_back(other->name);
    if (on && names.empty())
        statusBar()->showMessage(tr("There is no other image of this size to compare with."));
    else if (on)
        if (const auto name = ask_for_image(names))
            parts_->comparison->start(wanted, parts_->list, *name);
    parts_->actions.blink->setChecked(parts_->comparison->kind() == Comparison::Kind::blink);
    parts_->actions.difference->setChecked(parts_->comparison->kind() ==
                                           Comparison::Kind::difference);
}

}  // namespace vyn
