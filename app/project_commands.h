#pragma once

#include <QObject>
#include <QWidget>
#include <filesystem>
#include <memory>

#include "core/data_set.h"
#include "core/file_lock.h"
#include "core/task.h"
#include "core/worker.h"
#include "process/project/recovery_copy.h"
#include "process/report/run_report.h"

namespace vyn {

/// What the user does with whole projects. Every command that fails or is cancelled leaves the
/// project as it was; a failure is reported by a log line and a warning box.
class ProjectCommands : public QObject {
    Q_OBJECT
  public:
    ProjectCommands(Worker& worker, QWidget* window);

    /// Asks for the type of experiment and a project file, writes it and opens it.
    bool create();
    /// Keeps the settings and takes the next point's images, in a project file of its own.
    bool new_point();
    /// Asks for a project file and opens it.
    bool open();
    bool open_file(const std::filesystem::path& name);
    /// To its file; asks for one when there is none.
    bool save();
    bool save_as();
    /// Clears everything.
    bool close();
    /// The project is to be kept in this file from now on; empty: in none.
    void set_file(const QString& file);
    /// Forgets all images and the container's data, after a question.
    bool remove_ims_data();
    void choose_directory();
    enum class Recovered { nothing, settings, everything };
    /// Opens what a crash left, as unsaved work.
    Recovered recover(const LostWork& work);

    /// True when nothing is unsaved or the user does not mind.
    bool may_discard();
    /// Asks, unsaved or not.
    bool agrees_to_discard();
    /// Clears the project; not `totally_new`: keeps the settings that are not of one test point.
    void reset(bool totally_new);

  Q_SIGNALS:
    /// Another project, or none: pages and viewers start afresh.
    void replaced();
    /// What is to be known of the project that was read.
    void reported(std::shared_ptr<const RunReport> report);
    /// The project's file or images changed.
    void changed();
    void opened(const QString& file);
    void saved(const QString& file);

  private:
    using Lock = std::shared_ptr<FileLock>;
    enum class Overwriting { ask, allowed };

    bool carry_out(const std::shared_ptr<Job>& job, const QString& what_failed);
    bool create_from(std::shared_ptr<simpleNamedDataSet> settings, const QString& file);
    /// The project's file is not as this program read or wrote it last.
    bool changed_by_others() const;
    bool save_to(const std::filesystem::path& file, Overwriting overwriting);
    QString ask_target(const QString& caption, const QString& proposal);
    /// The lock of a project file that is to be opened or written; null when the user stays away
    /// from a project that is open elsewhere.
    Lock lock(const std::filesystem::path& file);
    void take(const std::filesystem::path& file, Lock lock);

    Worker& worker_;
    QWidget* window_;
    std::filesystem::path file_;  ///< opened or written last: it may be written again
    std::filesystem::file_time_type written_{};  ///< when that was
    std::filesystem::path names_folder_;  ///< that relative names belong to while there is no file
    Lock lock_;
};

}  // namespace vyn
