#pragma once

#include <QObject>
#include <QPointer>

class QAction;
class QMenu;
class QTabWidget;
class QWidget;

namespace vyn {

class RunPage;

/// The commands of the window that deal with runs of many points, and the page that shows one.
class RunCommands : public QObject {
    Q_OBJECT
  public:
    /// Its actions are put into `file_menu` before `before`, its page among the tasks.
    RunCommands(QTabWidget& tasks, QWidget* window, QMenu& file_menu, QAction* before);
    ~RunCommands() override;

    /// Null while no run was opened.
    RunPage* page() const;
    void open_table(const QString& table);
    /// True when nothing is being computed, or the user gives it up.
    bool may_close();

  public Q_SLOTS:
    void open();
    void make_new();

  Q_SIGNALS:
    /// A point is to be shown in the experiment page.
    void point_wanted(const QString& project);

  private:
    RunPage& shown_page();

    QTabWidget& tasks_;
    QWidget* window_;
    QPointer<RunPage> page_;
};

/// True for the name of a table of points.
bool is_run_table(const QString& file);

}  // namespace vyn
