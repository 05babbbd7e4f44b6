#include "calib/ui/camera_calibration/intrinsics_table.h"

#include <QHeaderView>
#include <algorithm>

#include "core/numbers.h"

namespace vyn {

namespace {

enum Column { name_column, record_column, found_column, sigma_column, column_count };

QString text_of(double value, int digits) {
    return QString::fromStdString(format_general(value, digits));
}

/// By the order of `Intrinsic`.
std::array<double, intrinsic_count> values_of(const cameraFeatures& record) {
    return {record.focus, record.cx, record.cy, record.a2, record.a4};
}

}  // namespace

IntrinsicsTable::IntrinsicsTable(QWidget* parent) : QTableWidget(parent) {
    setObjectName(QStringLiteral("intrinsics"));
    setRowCount(intrinsic_count);
    setColumnCount(column_count);
    setHorizontalHeaderLabels({tr("Free"), tr("Record"), tr("Found"), tr("± σ")});
    verticalHeader()->hide();
    horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    horizontalHeader()->setSectionResizeMode(name_column, QHeaderView::ResizeToContents);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const QStringList names{tr("Focus"), tr("Centre x, px"), tr("Centre y, px"), tr("a2, 1/px²"),
                            tr("a4, 1/px⁴")};
    for (int row = 0; row < rowCount(); ++row)
        for (int column = 0; column < columnCount(); ++column) {
            auto* item = new QTableWidgetItem;
            item->setFlags(Qt::ItemIsEnabled);
            if (column == name_column) {
                item->setText(names[row]);
                item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
                item->setCheckState(Qt::Unchecked);
            } else {
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            }
            setItem(row, column, item);
        }
    connect(this, &QTableWidget::itemChanged, this, &IntrinsicsTable::couple);
}

void IntrinsicsTable::couple(const QTableWidgetItem* item) {
    if (writing_ || item->column() != name_column) return;
    // The centre is one: both of its coordinates are free or none.
    constexpr int x = static_cast<int>(Intrinsic::cx);
    constexpr int y = static_cast<int>(Intrinsic::cy);
    writing_ = true;
    if (item->row() == x) this->item(y, name_column)->setCheckState(item->checkState());
    if (item->row() == y) this->item(x, name_column)->setCheckState(item->checkState());
    writing_ = false;
    Q_EMIT free_changed();
}

void IntrinsicsTable::set_free(const Free& free) {
    writing_ = true;
    for (int row = 0; row < rowCount(); ++row)
        item(row, name_column)
            ->setCheckState(free[static_cast<std::size_t>(row)] ? Qt::Checked : Qt::Unchecked);
    writing_ = false;
}

IntrinsicsTable::Free IntrinsicsTable::free() const {
    Free free{};
    for (int row = 0; row < rowCount(); ++row)
        free[static_cast<std::size_t>(row)] = item(row, name_column)->checkState() == Qt::Checked;
    return free;
}

void IntrinsicsTable::show_record(const cameraFeatures& record) {
    item(0, name_column)
        ->setText(tr("Focus, %1").arg(QString::fromStdString(record.default_length_unit)));
    const auto values = values_of(record);
    for (int row = 0; row < rowCount(); ++row)
        item(row, record_column)->setText(text_of(values[static_cast<std::size_t>(row)], 8));
}

void IntrinsicsTable::show_found(const cameraFeatures& record, const ViewResult* found) {
    for (int row = 0; row < rowCount(); ++row)
        for (const int column : {found_column, sigma_column})
            item(row, column)->setText({});
    if (!found) return;
    const auto values = values_of(with_intrinsics(record, found->camera_before, found->camera));
    for (int row = 0; row < rowCount(); ++row) {
        const auto which = static_cast<Intrinsic>(row);
        const auto freed = std::ranges::find(found->freed, which, &FreedIntrinsic::which);
        if (freed == found->freed.end()) {
            item(row, sigma_column)->setText(tr("held"));
            continue;
        }
        // That of the focus is in pixels, as the focus of the adjustment.
        const double unit = which == Intrinsic::focus ? record.focus / found->camera_before.fx : 1;
        item(row, found_column)->setText(text_of(values[static_cast<std::size_t>(row)], 8));
        item(row, sigma_column)->setText(text_of(unit * freed->sigma, 2));
    }
}

QSize IntrinsicsTable::sizeHint() const {
    int height = horizontalHeader()->sizeHint().height() + 2 * frameWidth();
    for (int row = 0; row < rowCount(); ++row)
        height += rowHeight(row);
    return {46 * fontMetrics().averageCharWidth(), height};
}

}  // namespace vyn
