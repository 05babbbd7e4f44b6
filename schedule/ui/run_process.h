#pragma once

#include <QObject>
#include <QProcess>
#include <QStringList>

namespace vyn {

/// A run of vynlite-batch beside the window: a fault of a point, or of it, leaves the window alone,
/// and it goes on through a schedule while the user works.
class RunProcess : public QObject {
    Q_OBJECT
  public:
    explicit RunProcess(QObject* parent = nullptr);
    ~RunProcess() override;

    void start(const QStringList& arguments);
    /// Asks it to stop; points that run are aborted.
    void stop();
    bool is_running() const { return process_.state() != QProcess::NotRunning; }

  Q_SIGNALS:
    /// A line that it printed.
    void told(const QString& line);
    /// `failure`: why it could not be started, was killed, or gave up before the first point; empty
    /// after a regular end, whatever became of the points.
    void ended(const QString& failure);

  private:
    void read_lines();

    QProcess process_;
    QByteArray unread_;
    bool points_told_ = false;
    QString last_error_;  ///< before the first point
};

/// The program that computes without a window: beside this one.
QString batch_program();

}  // namespace vyn
