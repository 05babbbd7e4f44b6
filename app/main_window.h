#pragma once

#include <QMainWindow>
#include <memory>
#include <string>

#include "core/worker.h"

namespace vyn {

class ExperimentPage;

/// The program's one main window: the project's file, the experiment page and the log in a tab
/// widget, menus and tool bar.
class VynLiteForm : public QMainWindow {
    Q_OBJECT
  public:
    explicit VynLiteForm(Worker& worker, QWidget* parent = nullptr);
    ~VynLiteForm() override;

    /// Null while there is none.
    ExperimentPage* experiment_page() const;
    /// Offers the work that a crash left.
    void offer_lost_work();
    /// Opens the first project among the files; images go to the experiment page or to viewers.
    void open_files(const QStringList& files);
    /// The page of the manual that tells of this widget; a box says when there is none.
    void show_help(QWidget& widget);

  public Q_SLOTS:
    void make_new_prj(bool totally_new);
    void fileNew();
    void fileOpen();
    void fileSave();
    void fileSaveAs();
    void fileExit();
    void helpIndex();
    void helpContents();
    void helpAbout();
    void dir_btn_clicked();
    void camera_cal_btn_clicked();
    void fileClose();
    void dir_edit_returnPressed();
    void calculateCalculate_AllAction_activated();
    void camera_sel_btn_clicked();
    void helpManualAction_activated();
    void show_image(const std::string& name, bool flag, const char* title);

  protected Q_SLOTS:
    void languageChange();

  protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

  private:
    struct Parts;
    void connect_actions();
    void start_pages();

    /// Brings window and pages in line with the project.
    void update_state();
    void update_title();
    void make_page();
    void remove_page();
    /// While there is nothing else to begin with.
    void show_start_page();
    /// What became of a command, in the status bar.
    void answer(const QString& text, bool failed);
    void open_images(const QStringList& files);

    std::unique_ptr<Parts> parts_;
};

}  // namespace vyn
