#include "app/viewer_windows.h"

#include "view/ui/window/field_viewer.h"

namespace vyn {

ViewerWindows::ViewerWindows(Worker& worker, QObject* parent) : QObject(parent), worker_(worker) {}

ViewerWindows::~ViewerWindows() {
    for (const QPointer<VynFieldViewer>& viewer : viewers_)
        delete viewer;
}

VynFieldViewer* ViewerWindows::find(const std::string& name) const {
    for (const QPointer<VynFieldViewer>& viewer : viewers_)
        if (viewer && viewer->shows_project_image(name)) return viewer;
    return nullptr;
}

VynFieldViewer* ViewerWindows::open(const std::string& name, bool flag, const QString& title) {
    // Without a parent: a viewer may lie behind the main window.
    auto* viewer = new VynFieldViewer(worker_, name, flag, title);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    std::erase_if(viewers_, [](const auto& window) { return window.isNull(); });
    viewers_.emplace_back(viewer);
    return viewer;
}

void ViewerWindows::show(const std::string& name, bool flag, const QString& title) {
    VynFieldViewer* viewer = find(name);
    if (!viewer) viewer = open(name, flag, title);
    viewer->show();
    viewer->raise();
    viewer->activateWindow();
}

void ViewerWindows::show_file(const QString& file) {
    const QPointer<VynFieldViewer> viewer = open({}, /*flag=*/false, file);
    viewer->show();
    viewer->open_file(file);
    if (viewer && viewer->image_name().empty()) viewer->close();  // nothing was opened
}

void ViewerWindows::mark(const std::string& name, bool out_of_date, const QString& why) {
    if (VynFieldViewer* viewer = find(name)) viewer->set_out_of_date(out_of_date, why);
}

bool ViewerWindows::close(const QPointer<VynFieldViewer>& viewer) {
    if (viewer && !viewer->close()) return false;
    delete viewer;  // now, not when the event loop runs again
    return true;
}

void ViewerWindows::close_project_images() {
    std::erase_if(viewers_, [](const auto& viewer) {
        return !viewer || (viewer->shows_project_image(viewer->image_name()) && close(viewer));
    });
}

bool ViewerWindows::close_all() {
    std::erase_if(viewers_, close);
    return viewers_.empty();
}

}  // namespace vyn
