#pragma once

#include <QGroupBox>
#include <string>
#include <vector>

class QGridLayout;
class QPushButton;

namespace vyn {

class ElidedLabel;

/// Buttons that open dialogs, each with what its settings say in a few words.
class RecordGroup : public QGroupBox {
    Q_OBJECT
  public:
    using Summary = std::string (*)();

    RecordGroup(const QString& title, QWidget* parent);
    QPushButton* add_button(const char* object_name, const QString& text, Summary summary);
    void add_row(const QString& label, QWidget* widget);
    void add_wide(QWidget* widget);
    /// Behind the last row.
    void fill_up();
    void show_summaries();

  private:
    struct Line {
        ElidedLabel* label;
        Summary summary;
    };
    QGridLayout* grid_;
    std::vector<Line> lines_;
};

}  // namespace vyn
