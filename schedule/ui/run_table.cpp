#include "schedule/ui/run_table.h"

#include <QBrush>
#include <QIcon>
#include <QPixmap>
#include <algorithm>
#include <map>

#include "core/numbers.h"
#include "schedule/ui/thumbnail_store.h"

namespace vyn {

namespace {

using Kind = PointStatus::Kind;

constexpr int own_columns = 1;  // before those of the table

QVariant colour_of(Kind kind) {
    switch (kind) {
        case Kind::failed:
            return QColor(0xd3, 0x2f, 0x2f);
        case Kind::beyond:
        case Kind::aborted:
        case Kind::out_of_date:
            return QColor(0xc7, 0x6a, 0x00);
        case Kind::running:
            return QColor(0x1e, 0x88, 0xe5);
        case Kind::done:
            return QColor(0x2e, 0x9d, 0x42);
        case Kind::waiting:
        case Kind::skipped:
            break;
    }
    return {};
}

QString text_of(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

RunTable::RunTable(QObject* parent)
    : QAbstractTableModel(parent), thumbnails_(new ThumbnailStore(this)) {
    connect(thumbnails_, &ThumbnailStore::read, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0, state_column), index(rowCount() - 1, state_column),
                               {Qt::DecorationRole});
    });
}

void RunTable::set_run(const std::shared_ptr<const RunView>& run) {
    const auto figures_in = [](const RunView& view) {
        std::vector<const FigureInfo*> figures;
        for (const FigureInfo& figure : figure_table())
            if (std::ranges::any_of(view.statuses, [&](const PointStatus& status) {
                    return status.state && status.state->figures.contains(std::string(figure.name));
                }))
                figures.push_back(&figure);
        return figures;
    };
    const std::vector<const FigureInfo*> figures =
        run ? figures_in(*run) : std::vector<const FigureInfo*>();
    // What stays as it is keeps selection and place.
    if (run_ && run && run_->schedule.digest == run->schedule.digest && figures == figures_ &&
        run_->schedule.file == run->schedule.file) {
        run_ = run;
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
        return;
    }
    beginResetModel();
    if (!run_ || !run || run_->schedule.results != run->schedule.results) thumbnails_->clear();
    run_ = run;
    figures_ = figures;
    table_rows_.clear();
    if (run_) {
        std::map<int, std::size_t> by_number;
        const auto& rows = run_->schedule.table.rows;
        for (std::size_t i = 0; i < rows.size(); ++i)
            by_number[rows[i].number] = i;
        for (const SchedulePoint& point : run_->schedule.points)
            table_rows_.push_back(by_number.at(point.row));
    }
    endResetModel();
}

int RunTable::figure_column(const FigureInfo& figure) const {
    const auto found = std::ranges::find(figures_, &figure);
    const auto cells = run_ ? static_cast<int>(run_->schedule.table.heads.size()) : 0;
    return own_columns + cells + static_cast<int>(found - figures_.begin());
}

int RunTable::rowCount(const QModelIndex& parent) const {
    return parent.isValid() || !run_ ? 0 : static_cast<int>(run_->schedule.points.size());
}

int RunTable::columnCount(const QModelIndex& parent) const {
    if (parent.isValid() || !run_) return 0;
    const std::size_t between = run_->schedule.table.heads.size() + figures_.size();
    return own_columns + static_cast<int>(between) + 1;
}

bool RunTable::is_cell(int column) const {
    return column >= own_columns &&
           column < own_columns + static_cast<int>(run_->schedule.table.heads.size());
}

const SchedulePoint& RunTable::point(int row) const {
    return run_->schedule.points[static_cast<std::size_t>(row)];
}

const PointStatus& RunTable::status(int row) const {
    return run_->statuses[static_cast<std::size_t>(row)];
}

const TableRow& RunTable::table_row(int row) const {
    return run_->schedule.table.rows[table_rows_[static_cast<std::size_t>(row)]];
}

QVariant RunTable::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !run_) return {};
    if (index.column() == state_column) return state_data(index.row(), role);
    if (is_cell(index.column())) return cell_data(index.row(), index.column() - own_columns, role);
    if (is_remark(index.column()))
        return role == Qt::DisplayRole || role == sort_role || role == Qt::ToolTipRole
                   ? remarks(index.row())
                   : QVariant();
    const auto figure =
        static_cast<std::size_t>(index.column() - own_columns) - run_->schedule.table.heads.size();
    return figure_data(index.row(), *figures_[figure], role);
}

QString RunTable::remarks(int row) const {
    const PointStatus& now = status(row);
    QStringList lines;
    if (!now.reason.empty()) lines << text_of(now.reason);
    if (now.state)
        for (const std::string& warning : now.state->warnings)
            if (now.reason.empty() || warning.find(now.reason) == std::string::npos)
                lines << text_of(warning);
    return lines.join(QLatin1Char('\n'));
}

QVariant RunTable::state_data(int row, int role) const {
    const PointStatus& now = status(row);
    switch (role) {
        case Qt::DisplayRole:
            return QString::fromLatin1(name(now.kind));
        case sort_role:
            return static_cast<int>(now.kind);
        case Qt::ForegroundRole: {
            const QVariant colour = colour_of(now.kind);
            return colour.isValid() ? QBrush(colour.value<QColor>()) : QVariant();
        }
        case Qt::ToolTipRole:
            return remarks(row);
        case Qt::DecorationRole: {
            if (!now.state || now.state->outcome != PointState::Outcome::done) return {};
            const QPixmap picture =
                thumbnails_->picture(run_->schedule.folder_of(point(row)), now.state->attempt);
            return picture.isNull() ? QVariant() : QVariant(QIcon(picture));
        }
        default:
            return {};
    }
}

QVariant RunTable::cell_data(int row, int column, int role) const {
    const std::string& cell = table_row(row).cells[static_cast<std::size_t>(column)];
    if (role == sort_role) {
        const std::optional<double> number = parse_double(cell);
        return number ? QVariant(*number) : QVariant(text_of(cell));
    }
    if (role == Qt::DisplayRole || role == Qt::EditRole) return text_of(cell);
    if (role == Qt::ToolTipRole && cell.empty())
        return tr("Empty: taken from a rule of the table, or from the base project");
    return {};
}

QVariant RunTable::figure_data(int row, const FigureInfo& figure, int role) const {
    const PointStatus& now = status(row);
    if (!now.state) return {};
    const auto value = now.state->figures.find(std::string(figure.name));
    if (value == now.state->figures.end()) return {};
    switch (role) {
        case Qt::DisplayRole:
            return text_of(format_general(value->second, 4));
        case sort_role:
            return value->second;
        case Qt::TextAlignmentRole:
            return int{Qt::AlignRight | Qt::AlignVCenter};
        case Qt::ForegroundRole:
            return is_beyond(figure, value->second, run_->limits)
                       ? QVariant(QBrush(colour_of(Kind::failed).value<QColor>()))
                       : QVariant();
        default:
            return {};
    }
}

QVariant RunTable::headerData(int section, Qt::Orientation orientation, int role) const {
    if (!run_ || role != Qt::DisplayRole) return {};
    if (orientation == Qt::Vertical) return point(section).row;
    if (section == state_column) return tr("state");
    const auto& heads = run_->schedule.table.heads;
    const auto column = static_cast<std::size_t>(section - own_columns);
    if (column < heads.size()) return text_of(heads[column]);
    if (is_remark(section)) return tr("remarks");
    return text_of(std::string(figures_[column - heads.size()]->label));
}

Qt::ItemFlags RunTable::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (run_ && is_cell(index.column()) && run_->schedule.file.extension() != ".json")
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool RunTable::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !index.isValid() || !is_cell(index.column())) return false;
    const QString text = value.toString().trimmed();
    if (text == data(index, Qt::EditRole).toString()) return false;
    Q_EMIT edited(static_cast<int>(table_rows_[static_cast<std::size_t>(index.row())]),
                  index.column() - own_columns, text);
    return true;
}

}  // namespace vyn
