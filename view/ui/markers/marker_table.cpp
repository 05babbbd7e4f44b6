#include "view/ui/markers/marker_table.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>
#include <set>

#include "core/atomic_file.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "process/point/project_paths.h"
#include "view/edit/marker_rows.h"

namespace vyn {

namespace {

constexpr std::size_t most_csv_bytes = std::size_t{16} << 20;

/// Sorts by its number where the text is one.
class Cell final : public QTableWidgetItem {
  public:
    using QTableWidgetItem::QTableWidgetItem;
    bool operator<(const QTableWidgetItem& other) const override {
        bool both[2] = {};
        const double mine = text().toDouble(&both[0]);
        const double its = other.text().toDouble(&both[1]);
        return both[0] && both[1] ? mine < its : QTableWidgetItem::operator<(other);
    }
};

}  // namespace

MarkerTable::MarkerTable(const MarkerEdit& markers, Change change)
    : markers_(markers),
      change_(std::move(change)),
      table_(new QTableWidget(0, marker_columns, this)) {
    setObjectName(QStringLiteral("MarkerTable"));
    table_->setObjectName(QStringLiteral("marker_table"));
    table_->setHorizontalHeaderLabels(
        {tr("Number"), tr("x, pix"), tr("y, pix"), tr("Value"), tr("Active")});
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table_->setSortingEnabled(true);
    table_->sortByColumn(static_cast<int>(MarkerColumn::number), Qt::AscendingOrder);
    auto* paste_button = new QPushButton(tr("&Paste"), this);
    paste_button->setObjectName(QStringLiteral("paste"));
    paste_button->setToolTip(tr("Put the clipboard's cells into the table, from the current cell"));
    auto* import = new QPushButton(tr("&Import CSV..."), this);
    import->setObjectName(QStringLiteral("import_csv"));
    import->setToolTip(tr("Lines with number, x, y, value and active"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(paste_button);
    buttons->addWidget(import);
    buttons->addStretch();
    auto* column = new QVBoxLayout(this);
    column->addWidget(table_);
    column->addLayout(buttons);
    setFocusProxy(table_);

    auto* shortcut = new QShortcut(QKeySequence::Paste, table_);
    shortcut->setContext(Qt::WidgetShortcut);
    connect(shortcut, &QShortcut::activated, this, &MarkerTable::paste);
    connect(paste_button, &QPushButton::clicked, this, &MarkerTable::paste);
    connect(import, &QPushButton::clicked, this, &MarkerTable::import_csv);
    connect(table_, &QTableWidget::itemChanged, this, &MarkerTable::edited);
    show_markers();
}

void MarkerTable::show_markers() {
    const std::vector<Marker>& markers = markers_.set().markers;
    filling_ = true;
    table_->setSortingEnabled(false);
    table_->setRowCount(static_cast<int>(markers.size()));
    for (int line = 0; line < table_->rowCount(); ++line)
        for (int column = 0; column < marker_columns; ++column) {
            auto* cell = new Cell(QString::fromStdString(marker_cell(
                markers[static_cast<std::size_t>(line)], static_cast<MarkerColumn>(column))));
            cell->setData(Qt::UserRole, line);
            table_->setItem(line, column, cell);
        }
    table_->setSortingEnabled(true);
    filling_ = false;
}

std::size_t MarkerTable::marker_of(int line) const {
    const QTableWidgetItem* cell = table_->item(line, 0);
    return cell ? cell->data(Qt::UserRole).toUInt() : markers_.count();
}

void MarkerTable::edited(QTableWidgetItem* item) {
    if (filling_) return;
    const auto column = static_cast<MarkerColumn>(item->column());
    const std::string text = item->text().toStdString();
    std::set<std::size_t> rows{marker_of(item->row())};
    if (item->isSelected() && column != MarkerColumn::number)
        for (const QTableWidgetItem* other : table_->selectedItems())
            if (other->column() == item->column()) rows.insert(marker_of(other->row()));
    const bool done = change_([&](MarkerEdit& edit) {
        MarkerSet set = edit.set();
        for (const std::size_t row : rows)
            set.markers[row] = with_cell(set.markers[row], column, text);
        set.hasF = set.hasF || column == MarkerColumn::value;
        if (column == MarkerColumn::number)
            edit.edit(*rows.begin(), set.markers[*rows.begin()]);
        else
            edit.replace(std::move(set));
    });
    if (!done) show_markers();
}

void MarkerTable::put(std::size_t row, int column, const std::string& text) {
    change_([&](MarkerEdit& edit) {
        edit.replace(with_cells(edit.set(), row, static_cast<MarkerColumn>(column), text));
    });
}

void MarkerTable::paste() {
    const QTableWidgetItem* cell = table_->currentItem();
    // Lines in the order of the table: what is pasted below each other stays below each other.
    const std::string text = QGuiApplication::clipboard()->text().toStdString();
    if (!cell) return put(markers_.count(), 0, text);
    const std::vector<std::vector<std::string>> lines = text_cells(text);
    if (lines.empty() || lines.front().size() == marker_columns)
        return put(marker_of(cell->row()), cell->column(), text);
    const int first = cell->row();
    const int column = cell->column();
    change_([&](MarkerEdit& edit) {
        MarkerSet set = edit.set();
        for (std::size_t i = 0; i < lines.size(); ++i) {
            std::string line;
            for (const std::string& value : lines[i])
                line += (line.empty() ? "" : "\t") + value;
            set = with_cells(std::move(set), marker_of(first + static_cast<int>(i)),
                             static_cast<MarkerColumn>(column), line);
        }
        edit.replace(std::move(set));
    });
}

void MarkerTable::import_csv() {
    const std::string file = ask_open_file(this, {tr("Import CSV"),
                                                  tr("Tables (*.csv *.txt);;All files (*)"),
                                                  {},
                                                  output_folder(vyn_db()).string()});
    if (file.empty()) return;
    attempt(this, tr("Import CSV"),
            [&] { put(markers_.count(), 0, read_file(file, most_csv_bytes)); });
}

}  // namespace vyn
