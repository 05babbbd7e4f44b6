#pragma once

#include <QTextBrowser>

#include "core/log.h"

namespace vyn {

/// The program's log in colour: read-only, the newest 200 lines. The one page that takes the new
/// lines from the log manager.
class QVynLog : public QTextBrowser {
    Q_OBJECT
  public:
    explicit QVynLog(QWidget* parent = nullptr);

  public Q_SLOTS:
    /// Appends what was logged since the last call and scrolls to the end.
    void process_log();

  private:
    void append_line(const LogLine& line);
};

}  // namespace vyn
