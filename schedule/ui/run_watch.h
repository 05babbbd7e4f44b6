#pragma once

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <memory>
#include <vector>

#include "schedule/survey.h"

namespace vyn {

/// A run as it was read and looked at last; never changed, so that other threads may hold it.
struct RunView {
    Schedule schedule;
    std::vector<Problem> missing;  ///< input files that are not there
    FigureLimits limits;
    std::vector<PointStatus> statuses;  ///< of the points, in their order
};

/// Reads a run's table and looks at its points in the background: both touch thousands of files.
class RunWatch : public QObject {
    Q_OBJECT
  public:
    explicit RunWatch(QObject* parent = nullptr);
    ~RunWatch() override;

    /// Reads the table and looks; `finished` follows. Of several calls only the last one counts.
    void read(const std::filesystem::path& file, const ScheduleOptions& options,
              const FigureLimits& limits);
    /// Looks at the points of a run that was read; nothing while it still looks.
    void look(const std::shared_ptr<const RunView>& run);

  Q_SIGNALS:
    /// `failure` is empty, or the table could not be read and there is no run.
    void finished(const std::shared_ptr<const vyn::RunView>& run, const QString& failure);

  private:
    void start(std::function<std::shared_ptr<const RunView>()> work);

    QThreadPool pool_;
    int newest_ = 0;
    bool busy_ = false;
};

}  // namespace vyn
