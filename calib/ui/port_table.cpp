#include "calib/ui/port_table.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QSignalBlocker>
#include <cmath>

#include "core/numbers.h"

namespace vyn {

namespace {

QString number(double value, int digits) {
    return std::isfinite(value) ? QString::fromStdString(format_general(value, digits))
                                : QStringLiteral("–");
}

QTableWidgetItem* cell(const QString& text) {
    auto* item = new QTableWidgetItem(text);
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    return item;
}

}  // namespace

PortTable::PortTable(QWidget* parent) : QTableWidget(0, 5, parent) {
    setObjectName(QStringLiteral("port_table"));
    setHorizontalHeaderLabels(
        {tr("Number"), tr("I0/I"), tr("P"), tr("Residual"), tr("Leave-one-out")});
    verticalHeader()->hide();
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setTabKeyNavigation(false);
    connect(this, &QTableWidget::itemChanged, this,
            [this](QTableWidgetItem* item) { Q_EMIT port_toggled(item->row()); });
}

void PortTable::show_ports(const PortSelection& selection) {
    const QSignalBlocker not_by_the_user(this);
    const std::size_t rows = selection.points().size();
    setRowCount(static_cast<int>(rows));
    for (std::size_t i = 0; i < rows; ++i) {
        const CalibrationPoint& point = selection.points()[i];
        const int row = static_cast<int>(i);
        QTableWidgetItem* head = cell(QString::number(point.number));
        head->setFlags(head->flags() | Qt::ItemIsUserCheckable);
        head->setCheckState(selection.is_used(i) ? Qt::Checked : Qt::Unchecked);
        head->setToolTip(tr("Switched off, the port is not in the fit"));
        setItem(row, 0, head);
        setItem(row, 1, cell(number(point.ratio, 6)));
        setItem(row, 2, cell(number(point.pressure, 7)));
        setItem(row, 3, cell(number(selection.residual(i), 3)));
        setItem(row, 4, cell(number(selection.leave_one_out(i), 3)));
    }
    resizeColumnsToContents();
    setMinimumWidth(horizontalHeader()->length() + verticalScrollBar()->sizeHint().width() +
                    2 * frameWidth());
}

QSize PortTable::sizeHint() const {
    return {horizontalHeader()->length() + 3 * fontMetrics().lineSpacing(),
            14 * fontMetrics().lineSpacing()};
}

}  // namespace vyn
