#pragma once

#include <QString>
#include <QWidget>
#include <memory>
#include <string>

#include "core/worker.h"
#include "process/report/run_report.h"

namespace vyn {

/// Which pages there are; the project's settings say which one it needs (experiment_type).
enum class ExperimentPageKind { single_channel, double_channel };

/// The page of the main window on which one test point is set up and computed. It shows the
/// project's settings and writes them; nothing of the project lives in it.
class ExperimentPage : public QWidget {
    Q_OBJECT
  public:
    using QWidget::QWidget;

    /// The tab's label.
    virtual QString label() const = 0;
    /// Shows what the project holds now. Called after every change of the project from outside,
    /// also while no project file is set (the page is disabled then).
    virtual void refresh() = 0;
    /// Runs the page's whole chain in the busy box. Results are not saved.
    virtual void calculate_all() = 0;
    /// Asks for the features of the camera (of the signal camera, where there are two).
    virtual void edit_camera() = 0;
    /// Calibrates that camera from its pictures.
    virtual void calibrate_camera() = 0;
    /// Puts an image file in the place that its name suggests, asking where it is not clear, and
    /// shows the record of a camera or paint file in its dialog (files dropped on the window or
    /// given on the command line). False when the page has no use for the file.
    virtual bool take_file(const QString& file) = 0;
    /// Warnings of the project's reading, to be shown until the first computation.
    virtual void take_report(std::shared_ptr<const RunReport> report) = 0;

    /// The files of the model; what they name is opened and removed by the window.
    enum class ModelFile { mesh, markers };
    Q_ENUM(ModelFile)

  Q_SIGNALS:
    void model_file_wanted(ModelFile what);
    /// Empty: the file is to be removed.
    void model_file_chosen(ModelFile what, const QString& file);
    /// An image of the image list, to be shown in a viewer; `flag`: it is a camera file.
    void show_image(const std::string& name, bool flag, const QString& title);
    /// How a result stands to the present settings and files, whenever the page looked: marks the
    /// viewers of that image. `why` is empty when it is not out of date.
    void result_looked_at(const std::string& name, bool out_of_date, const QString& why);
    /// How a command of the page ended, in one line; `failed` when not as it was meant.
    void answered(const QString& text, bool failed);
    /// The page changed settings or images.
    void project_changed();
};

/// Null where the page does not exist.
std::unique_ptr<ExperimentPage> make_experiment_page(ExperimentPageKind kind, Worker& worker,
                                                     QWidget* parent);

}  // namespace vyn
