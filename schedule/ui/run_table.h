#pragma once

#include <QAbstractTableModel>
#include <memory>
#include <vector>

#include "schedule/ui/run_watch.h"

namespace vyn {

class ThumbnailStore;

/// The points of a run as a table: picture and state, the cells of the run's own table (which can
/// be edited), the figures that one of the points has, and remarks.
class RunTable : public QAbstractTableModel {
    Q_OBJECT
  public:
    enum Role { sort_role = Qt::UserRole };

    explicit RunTable(QObject* parent = nullptr);

    void set_run(const std::shared_ptr<const RunView>& run);
    const RunView* run() const { return run_.get(); }

    /// Column of the state's words.
    static constexpr int state_column = 0;
    int figure_column(const FigureInfo& figure) const;
    const std::vector<const FigureInfo*>& figures() const { return figures_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  Q_SIGNALS:
    /// The user typed into a cell of the run's table: row and column of it.
    void edited(int row, int column, const QString& text);

  private:
    bool is_cell(int column) const;
    bool is_remark(int column) const { return column == columnCount() - 1; }
    QString remarks(int row) const;
    const SchedulePoint& point(int row) const;
    const PointStatus& status(int row) const;
    const TableRow& table_row(int row) const;
    QVariant state_data(int row, int role) const;
    QVariant cell_data(int row, int column, int role) const;
    QVariant figure_data(int row, const FigureInfo& figure, int role) const;

    std::shared_ptr<const RunView> run_;
    std::vector<std::size_t> table_rows_;  ///< of the points, in the table as it stands
    std::vector<const FigureInfo*> figures_;
    ThumbnailStore* thumbnails_;
};

}  // namespace vyn
