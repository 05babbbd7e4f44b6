#pragma once

#include <memory>
#include <vector>

#include "app/experiment_page.h"
#include "app/pages/page_watcher.h"
#include "core/ui/busy_box.h"
#include "process/report/run_report.h"

class QLabel;
class QScrollArea;

namespace vyn {

class CardGrid;
class FieldPreview;
class ImageCard;
class FileRow;
class InputRow;
class RecordGroup;
class ResultsList;
class SaturationRow;
class StepGroup;

/// What the pages of all types of experiment have in common: the files of the test point, the
/// dialogs of its records and options, the steps of the computation and their results.
class BasicPage : public ExperimentPage {
    Q_OBJECT
  public:
    BasicPage(Worker& worker, QWidget* parent);
    ~BasicPage() override;

    void refresh() override;
    void calculate_all() override;
    void edit_camera() override;
    void calibrate_camera() override;
    bool take_file(const QString& file) override;
    void take_report(std::shared_ptr<const RunReport> report) override;

    /// Of the last computation that ran from here; null before.
    std::shared_ptr<const RunReport> report() const { return report_; }

  private:
    void build(ExperimentType type);
    QWidget* camera_group();
    QWidget* option_group();
    void add_model_rows(RecordGroup& group);
    void connect_row(InputRow* row);
    void show_look(const std::shared_ptr<const PageLook>& look);
    void show_remarks(const PageState& state);

    QBusyBox& busy_box();
    /// `done`: what was done when all went well: "Calculated".
    TaskOutcome run(const std::shared_ptr<Job>& job, const QString& done);
    QString answer_to(TaskOutcome outcome, const QString& done, double seconds);
    /// What an alignment by texture found that was only tried.
    void show_trial(const RunReport& found);
    std::shared_ptr<RunReport> report_for(PageStep step) const;
    void run_step(PageStep step);
    void open_in_situ();
    void select_file(const PageRow& row);
    /// Asks where a missing file is now and takes the others that moved with it.
    void locate_file(const PageRow& row);
    /// Takes a camera or paint calibration; false when the file holds neither.
    bool take_record_file(const QString& file);
    /// Asks where drawn markers and masks, or results of work, would be lost with the old file.
    bool may_replace_input(const InputFile& input);
    /// Asks for the file and saves the markers drawn on the image there.
    void save_markers(const InputFile& input);
    void put_file(const InputFile& input, const std::string& file);
    void view(const std::string& image);
    /// `file`: whose record the dialog shows at first; empty: the project's.
    void open_camera(std::string_view tree, const std::string& file);
    /// Ask where old files, or what was drawn on old results, would be lost.
    bool may_replace_field();
    bool may_replace_results(PageStep step);
    /// After a change of what is done to camera pictures when they are loaded.
    void load_pictures_anew();
    /// Runs a dialog over the settings; true when it was accepted.
    bool run_dialog(QDialog& dialog);
    template <class Dialog>
    void open_dialog() {
        Dialog dialog(vyn_db(), this);
        run_dialog(dialog);
    }

    Worker& worker_;
    std::unique_ptr<QBusyBox> busy_box_;
    PageWatcher* watcher_;
    QScrollArea* scroll_;
    std::shared_ptr<const RunReport> report_;
    QString last_run_;
    bool last_run_failed_ = false;

    /// Of the type that is shown now.
    ExperimentType type_ = ExperimentType::single;
    std::vector<ImageCard*> cards_;
    std::vector<InputRow*> image_rows_;
    FileRow* mesh_row_ = nullptr;
    FileRow* model_markers_row_ = nullptr;
    std::vector<RecordGroup*> records_;
    SaturationRow* saturation_ = nullptr;
    StepGroup* steps_ = nullptr;
    FieldPreview* field_ = nullptr;
    ResultsList* results_ = nullptr;
    QLabel* remarks_ = nullptr;
};

}  // namespace vyn
