#pragma once

#include <QDialog>
#include <memory>
#include <string>
#include <vector>

#include "core/task.h"
#include "core/worker.h"

namespace vyn {

/// Runs a job on the worker and shows how it gets on: status text, progress with remaining time,
/// and a button that aborts. Modal; closes by itself when the job ended well, stays open with a
/// notice on its button when it did not. Messages and questions of the job are shown above it.
class QBusyBox : public QDialog {
    Q_OBJECT
  public:
    explicit QBusyBox(Worker& worker, QWidget* parent = nullptr);
    ~QBusyBox() override;

    /// Returns when the box has closed: how the job ended. An empty job is not posted.
    TaskOutcome run(std::shared_ptr<Job> job);
    /// Of the last run: what stopped it, for the user; empty when nothing did.
    const std::string& failure() const;
    /// Of the last run.
    std::vector<StageTime> stages();

  public Q_SLOTS:
    void abort_btn_clicked();
    /// Escape and the window's close button abort as well.
    void reject() override;

  protected:
    void timerEvent(QTimerEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace vyn
