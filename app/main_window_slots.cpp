#include <QApplication>

#include "api/image_list.h"
#include "app/about.h"
#include "app/main_window_parts.h"
#include "app/messages.h"
#include "core/errors.h"

namespace vyn {

void VynLiteForm::make_new_prj(bool totally_new) {
    parts_->commands->reset(totally_new);
}

void VynLiteForm::fileNew() {
    parts_->commands->create();
}

void VynLiteForm::fileOpen() {
    parts_->commands->open();
}

void VynLiteForm::fileSave() {
    parts_->commands->save();
}

void VynLiteForm::fileSaveAs() {
    parts_->commands->save_as();
}

void VynLiteForm::fileExit() {
    close();
}

void VynLiteForm::fileClose() {
    parts_->commands->close();
}

void VynLiteForm::dir_btn_clicked() {
    parts_->commands->choose_directory();
}

void VynLiteForm::dir_edit_returnPressed() {
    if (parts_->widgets.dir_edit->isModified())
        parts_->commands->set_file(parts_->widgets.dir_edit->text());
}

void VynLiteForm::calculateCalculate_AllAction_activated() {
    if (parts_->page && parts_->page->isEnabled()) parts_->page->calculate_all();
    update_title();
}

void VynLiteForm::camera_cal_btn_clicked() {
    if (parts_->page && parts_->page->isEnabled()) parts_->page->calibrate_camera();
}

void VynLiteForm::camera_sel_btn_clicked() {
    if (parts_->page && parts_->page->isEnabled()) parts_->page->edit_camera();
}

void VynLiteForm::helpIndex() {
    helpManualAction_activated();
}

void VynLiteForm::helpContents() {
    helpManualAction_activated();
}

void VynLiteForm::helpManualAction_activated() {
    show_help(*this);
}

void VynLiteForm::show_help(QWidget& widget) {
    try {
        parts_->manual.show_for(widget);
    } catch (const GenericError& error) {
        report_failure(widget.window(),
                       tr("The manual cannot be shown.\n%1").arg(QString::fromUtf8(error.what())));
    }
}

void VynLiteForm::helpAbout() {
    QVynLiteAbout about(this);
    about.exec();
}

void VynLiteForm::show_image(const std::string& name, bool flag, const char* title) {
    if (!get_images().find(name)) {
        report_failure(this, tr("There is no image \"%1\".").arg(QString::fromUtf8(title)));
        return;
    }
    parts_->viewers.show(name, flag, QString::fromUtf8(title));
}

}  // namespace vyn
