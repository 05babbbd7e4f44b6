#pragma once

#include <QMenu>

namespace vyn {

/// The menu of the projects opened last, kept in the user's settings.
class RecentFilesMenu : public QMenu {
    Q_OBJECT
  public:
    explicit RecentFilesMenu(QWidget* parent = nullptr);
    void add(const QString& file);
    QStringList files() const;

  Q_SIGNALS:
    void chosen(const QString& file);

  private:
    void fill();
};

}  // namespace vyn
