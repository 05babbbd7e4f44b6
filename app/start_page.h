#pragma once

#include <QProcess>
#include <QWidget>

class QTreeWidget;

namespace vyn {

/// What the window shows while no project is open: ways to begin, and the projects of late.
class StartPage : public QWidget {
    Q_OBJECT
  public:
    explicit StartPage(QWidget* parent = nullptr);

    /// Fills the list of projects anew.
    void show_projects(const QStringList& files);

  Q_SIGNALS:
    void new_wanted();
    void open_wanted();
    void project_wanted(const QString& file);

  private:
    void make_example();
    void example_ended();

    QTreeWidget* projects_;
    QWidget* example_;
    QProcess maker_;
};

}  // namespace vyn
