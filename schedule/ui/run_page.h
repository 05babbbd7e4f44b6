#pragma once

#include <QUndoStack>
#include <QWidget>
#include <memory>
#include <vector>

#include "schedule/ui/run_process.h"
#include "schedule/ui/run_watch.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QSortFilterProxyModel;
class QSpinBox;
class QTableView;
class QTimer;

namespace vyn {

class RunTable;
class TrendPlot;

/// A run of many points: its table with states, pictures and figures, the trend of one figure, and
/// what is done with them. Points are computed by vynlite-batch beside the window; those that a
/// cluster or another window computes show, too, for all that is told of a point lies in its
/// folder.
class RunPage : public QWidget {
    Q_OBJECT
  public:
    explicit RunPage(QWidget* parent = nullptr);
    ~RunPage() override;

    /// Shows a table of points. `default_base`: the project that it stands on when neither the
    /// table nor a file beside it names one; may be empty.
    void open(const QString& table, const QString& default_base);
    /// Makes a table from a folder of pictures and shows it.
    void make_new(const QString& default_base);

    bool is_computing() const { return process_->is_running(); }
    const RunView* run() const;

  Q_SIGNALS:
    /// The user wants to see a point in the experiment page: its project file.
    void point_wanted(const QString& project);

  protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QWidget* file_row();
    QWidget* run_row();
    QWidget* table_part();
    QWidget* trend_part();
    void connect_parts();

    void read_again();
    void take(const std::shared_ptr<const RunView>& run, const QString& failure);
    void look();
    void refresh_buttons();
    void refresh_trend();
    void size_columns();
    void show_problems(const RunView& run);

    void compute(const QStringList& further);
    void compute_rest();
    void compute_selected();
    void summarise();
    void process_ended(const QString& failure);
    void take_line(const QString& line);
    QStringList named_places() const;
    QStringList limit_arguments() const;
    FigureLimits limits();

    void edit_cell(int row, int column, const QString& text);
    void write_cell(int row, int column, const QString& text);
    std::vector<int> selected_points() const;
    void open_point();
    void show_page();
    void show_file(const std::filesystem::path& file);
    void go_to(int point);

    QString file_;
    QString default_base_;
    std::shared_ptr<const RunView> run_;
    RunWatch* watch_;
    RunProcess* process_;
    RunTable* table_;
    QSortFilterProxyModel* sorted_;
    QUndoStack* edits_;
    QTimer* timer_;
    bool summarising_ = false;

    QLabel* title_;
    QLineEdit* base_;
    QLineEdit* limits_;
    QSpinBox* jobs_;
    QPushButton* run_button_;
    QPushButton* selected_button_;
    QPushButton* stop_button_;
    QPushButton* summary_button_;
    QPushButton* open_button_;
    QPushButton* page_button_;
    QProgressBar* progress_;
    QLabel* state_;
    QListWidget* problems_;
    QTableView* view_;
    QComboBox* figure_;
    TrendPlot* trend_;
};

}  // namespace vyn
