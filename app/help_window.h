#pragma once

#include <QMainWindow>
#include <memory>

class QHelpEngine;
class QTextBrowser;

namespace vyn {

/// Where the manual is: in "help" beside the program or in the installed share folder. Empty when
/// it is in neither.
QString find_help_file();

/// The manual with contents, index and search.
class HelpWindow : public QMainWindow {
    Q_OBJECT
  public:
    /// Raises FileError when the manual cannot be read. A parent makes it a window over that one.
    explicit HelpWindow(const QString& help_file, QWidget* parent = nullptr);
    ~HelpWindow() override;

    void show_page(const QUrl& page);
    /// By the name of its file without folder and extension, such as "markers".
    void show_page_named(const QString& name);

  private:
    void open_manual(const QString& help_file);
    void make_panels();
    void make_tool_bar();

    std::unique_ptr<QHelpEngine> engine_;
    QTextBrowser* browser_;
    QString name_space_;
};

}  // namespace vyn
