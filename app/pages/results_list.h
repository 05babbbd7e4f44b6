#pragma once

#include <QGroupBox>
#include <QString>
#include <string>
#include <vector>

#include "app/pages/page_watcher.h"

class QLabel;
class QToolButton;

namespace vyn {

class ElidedLabel;

/// The results with what is to be said of each, and a button to view it.
class ResultsList : public QGroupBox {
    Q_OBJECT
  public:
    ResultsList(ExperimentType type, QWidget* parent = nullptr);
    /// `unaligned`: why results that need aligned pictures are not to be used; empty when nothing
    /// is known against them.
    void show_look(const PageLook& look, const QString& unaligned);

  Q_SIGNALS:
    void view_wanted(const std::string& image);

  private:
    struct Line {
        std::string image;
        QLabel* preview;
        QLabel* label;
        ElidedLabel* state;
        QToolButton* view;
        qint64 shown;  ///< which picture the preview shows
    };
    void show_line(Line& line, const ResultEntry& result, const Thumbnail* preview,
                   const QString& unaligned);

    std::vector<Line> lines_;
};

}  // namespace vyn
