#include "view/ui/association/association_panel.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

namespace vyn {

namespace {

enum Column { number_column, x_column, y_column, size_column, state_column, columns };

QString words_of(const AssociationRow& row) {
    QString text;
    switch (row.state) {
        case AssociationRow::State::used:
            text = row.told ? AssociationPanel::tr("by hand") : AssociationPanel::tr("used");
            break;
        case AssociationRow::State::rejected:
            text = AssociationPanel::tr("too far");
            break;
        case AssociationRow::State::left_out:
            text = AssociationPanel::tr("left out");
            break;
        case AssociationRow::State::no_dot:
            text = AssociationPanel::tr("no dot");
            break;
    }
    if (!row.hidden) return text;
    return row.dot ? AssociationPanel::tr("%1, hidden").arg(text) : AssociationPanel::tr("hidden");
}

/// Shows a value in a cell, which is made where there is none.
QTableWidgetItem* put(QTableWidget& table, int line, int column, const QVariant& value) {
    QTableWidgetItem* cell = table.item(line, column);
    if (!cell) {
        cell = new QTableWidgetItem;
        cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        table.setItem(line, column, cell);
    }
    if (cell->data(Qt::DisplayRole) != value) cell->setData(Qt::DisplayRole, value);
    return cell;
}

double rounded(double pixels) {
    return std::round(1000 * pixels) / 1000;
}

}  // namespace

AssociationPanel::AssociationPanel(QWidget* parent)
    : QWidget(parent),
      words_(new QLabel(this)),
      table_(new QTableWidget(0, columns, this)),
      enlarged_(new QDoubleSpinBox(this)) {
    setObjectName(QStringLiteral("AssociationPanel"));
    words_->setObjectName(QStringLiteral("association_words"));
    words_->setWordWrap(true);
    words_->setTextFormat(Qt::PlainText);
    words_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    table_->setObjectName(QStringLiteral("residuals"));
    table_->setHorizontalHeaderLabels({tr("No"), tr("x"), tr("y"), tr("Size"), tr("State")});
    table_->setToolTip(tr("Dot minus ring, pixels"));
    table_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    table_->horizontalHeaderItem(number_column)
        ->setToolTip(tr("Markers without a tick are left out, of the alignment too"));
    table_->verticalHeader()->hide();
    // Widths that fit the contents would be measured anew for every number that changes.
    const auto width = [this](const char* text) {
        return fontMetrics().horizontalAdvance(QLatin1String(text));
    };
    table_->setColumnWidth(number_column, width("000") + 2 * fontMetrics().height());
    for (const int column : {x_column, y_column, size_column})
        table_->setColumnWidth(column, width("-00.000"));
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setSortingEnabled(true);
    table_->sortByColumn(number_column, Qt::AscendingOrder);
    constexpr double most = 1e4;
    enlarged_->setObjectName(QStringLiteral("enlarged"));
    enlarged_->setRange(0, most);
    enlarged_->setDecimals(0);
    enlarged_->setValue(100);
    enlarged_->setPrefix(QStringLiteral("× "));
    enlarged_->setToolTip(tr("How much longer residuals are drawn; 0 hides them"));

    find_ = add_button("find_pose", tr("&Find the pose"),
                       tr("Pairs and pose without help, from numbers or places"),
                       &AssociationPanel::find_wanted);
    pair_ = add_button("pair_rest", tr("&Pair the rest"),
                       tr("Dots get the numbers of the markers that the pose shows on them"),
                       &AssociationPanel::pair_wanted);
    accept_ = add_button("accept_pose", tr("&Accept"),
                         tr("Pose and numbers are what Resect 3-D goes on from"),
                         &AssociationPanel::accepted);
    reject_ = add_button("reject_pose", tr("&Reject"), tr("Markers and pose become what they were"),
                         &AssociationPanel::rejected);
    auto* form = new QFormLayout;
    form->addRow(tr("&Residuals:"), enlarged_);
    auto* buttons = new QGridLayout;
    buttons->addWidget(find_, 0, 0);
    buttons->addWidget(pair_, 0, 1);
    buttons->addWidget(accept_, 1, 0);
    buttons->addWidget(reject_, 1, 1);
    auto* column = new QVBoxLayout(this);
    column->addWidget(words_);
    column->addWidget(table_, 1);
    column->addLayout(form);
    column->addLayout(buttons);

    const auto number_at = [this](int line) {
        return table_->item(line, number_column)->data(Qt::DisplayRole).toInt();
    };
    connect(table_, &QTableWidget::cellClicked, this,
            [this, number_at](int line) { Q_EMIT row_chosen(number_at(line)); });
    connect(table_, &QTableWidget::itemChanged, this,
            [this, number_at](const QTableWidgetItem* item) {
                if (filling_ || item->column() != number_column) return;
                Q_EMIT left_out(number_at(item->row()), item->checkState() != Qt::Checked);
            });
    connect(enlarged_, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this,
            &AssociationPanel::enlargement_chosen);
    show_rows({}, {}, false);
    set_active(false);
}

QPushButton* AssociationPanel::add_button(const char* name, const QString& text, const QString& tip,
                                          void (AssociationPanel::*wanted)()) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setToolTip(tip);
    connect(button, &QPushButton::clicked, this, wanted);
    return button;
}

void AssociationPanel::show_rows(const std::vector<AssociationRow>& rows, const QString& words,
                                 bool can_accept) {
    filling_ = true;
    table_->setUpdatesEnabled(false);
    words_->setText(words);
    table_->setSortingEnabled(false);
    table_->setRowCount(static_cast<int>(rows.size()));
    for (int line = 0; line < table_->rowCount(); ++line) {
        const AssociationRow& row = rows[static_cast<std::size_t>(line)];
        QTableWidgetItem* number = put(*table_, line, number_column, row.number);
        number->setFlags(number->flags().setFlag(Qt::ItemIsUserCheckable, row.dot.has_value()));
        number->setData(Qt::CheckStateRole, !row.dot ? QVariant()
                                            : row.state == AssociationRow::State::left_out
                                                ? QVariant(Qt::Unchecked)
                                                : QVariant(Qt::Checked));
        const bool known = row.dot && row.length() > 0;
        const auto pixels = [known](double size) { return known ? rounded(size) : QVariant(); };
        put(*table_, line, x_column, pixels(row.dx));
        put(*table_, line, y_column, pixels(row.dy));
        put(*table_, line, size_column, pixels(row.length()));
        put(*table_, line, state_column, words_of(row));
    }
    table_->setSortingEnabled(true);
    table_->setUpdatesEnabled(true);
    filling_ = false;
    accept_->setEnabled(active_ && can_accept);
}

void AssociationPanel::set_active(bool active) {
    active_ = active;
    for (QWidget* part : {static_cast<QWidget*>(table_), static_cast<QWidget*>(find_),
                          static_cast<QWidget*>(pair_), static_cast<QWidget*>(reject_)})
        part->setEnabled(active);
    if (!active) accept_->setEnabled(false);
}

double AssociationPanel::enlarged() const {
    return enlarged_->value();
}

void AssociationPanel::set_enlarged(double factor) {
    enlarged_->setValue(factor);
}

}  // namespace vyn
