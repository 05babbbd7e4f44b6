#pragma once

#include <QTextBrowser>
#include <filesystem>
#include <vector>

#include "core/log.h"

class QLineEdit;

namespace vyn {

/// The program's log in colour: read-only, the newest 200 lines, each with the time of its writing.
/// A run of routine lines that begin alike (up to their colon) is folded behind a link. Above the
/// lines: a search, and buttons that copy the lines and open the log file. The one page that takes
/// the new lines from the log manager.
class QVynLog : public QTextBrowser {
    Q_OBJECT
  public:
    explicit QVynLog(QWidget* parent = nullptr);

    /// The file that keeps the lines for longer; empty: none.
    void set_file(const std::filesystem::path& file);

  public Q_SLOTS:
    /// Appends what was logged since the last call and scrolls to the end.
    void process_log();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    /// Routine lines that begin alike, one after another.
    struct Fold {
        std::string head;
        int lines = 0;
        QStringList hidden;  ///< as markup
    };

    void make_tools();
    void append_line(const LogLine& line);
    void append_markup(const QString& markup);
    bool fold_away(const LogLine& line, const QString& markup);
    void unfold(const QUrl& link);
    void find_text(QTextDocument::FindFlags flags);
    void mark_found();
    void copy_all();
    void open_file();

    QWidget* tools_;
    QLineEdit* search_;
    QWidget* open_;
    QString file_;
    std::vector<Fold> folds_;  ///< those with a link; the last one may grow
    Fold run_;                 ///< the lines at the end
};

}  // namespace vyn
