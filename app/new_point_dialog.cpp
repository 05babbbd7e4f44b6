#include "app/new_point_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "core/keys.h"
#include "core/ui/window_size.h"
#include "process/page/likely_places.h"

namespace vyn {

namespace {

enum Column { setting, present, proposed };

QString name_of(const std::string& file) {
    return QFileInfo(QString::fromStdString(file)).fileName();
}

QTableWidgetItem* text_item(const QString& text, const QString& tip) {
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
    item->setToolTip(tip);
    return item;
}

/// "Wind-On: Markers" where the page has a row for it.
QString label_of(std::string_view key) {
    const ExperimentType type = experiment_type(vyn_db());
    for (const PageCard& card : page_cards(type))
        for (const PageRow& row : card.rows)
            if (row.input.file.path == key) return QString::fromStdString(place_label(type, row));
    return QString::fromStdString(short_meaning(key));
}

}  // namespace

NewPointDialog::NewPointDialog(std::vector<NextPoint> ways, QWidget* parent)
    : QDialog(parent),
      ways_(std::move(ways)),
      way_(new QComboBox(this)),
      files_(new QTableWidget(0, 3, this)) {
    setObjectName(QStringLiteral("NewPoint"));
    setWindowTitle(tr("New point from this one"));
    way_->setObjectName(QStringLiteral("way"));
    for (const NextPoint& way : ways_)
        way_->addItem(tr("%1 becomes %2 (%n file(s) found)", nullptr, way.found())
                          .arg(QString::fromStdString(way.from), QString::fromStdString(way.to)));
    way_->addItem(tr("no files yet"));
    files_->setObjectName(QStringLiteral("files"));
    files_->setHorizontalHeaderLabels({tr("File"), tr("This point"), tr("New point")});
    files_->verticalHeader()->hide();
    files_->horizontalHeader()->setStretchLastSection(true);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* form = new QFormLayout;
    form->addRow(tr("&Next point:"), way_);
    auto* column = new QVBoxLayout(this);
    auto* text = new QLabel(tr("All settings are kept; the files are those ticked here."), this);
    text->setWordWrap(true);
    column->addWidget(text);
    column->addLayout(form);
    column->addWidget(files_);
    column->addWidget(buttons);
    connect(way_, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &NewPointDialog::show_way);
    show_way();
    resize(on_screen({fontMetrics().averageCharWidth() * 100, fontMetrics().lineSpacing() * 24}));
}

void NewPointDialog::show_way() {
    files_->setRowCount(0);
    const auto chosen = static_cast<std::size_t>(way_->currentIndex());
    if (chosen >= ways_.size()) return;
    for (const NextPoint::File& file : ways_[chosen].files) {
        const int row = files_->rowCount();
        files_->insertRow(row);
        files_->setItem(row, setting, text_item(label_of(file.key), {}));
        files_->setItem(row, present,
                        text_item(name_of(file.old_name), QString::fromStdString(file.old_name)));
        QTableWidgetItem* next = text_item(file.new_name.empty() ? tr("none")
                                           : file.kept ? tr("%1 (kept)").arg(name_of(file.new_name))
                                                       : name_of(file.new_name),
                                           QString::fromStdString(file.new_name));
        if (file.new_name.empty()) {
            next->setFlags(Qt::NoItemFlags);
        } else {
            next->setFlags(next->flags() | Qt::ItemIsUserCheckable);
            next->setCheckState(Qt::Checked);
        }
        files_->setItem(row, proposed, next);
    }
    files_->resizeColumnsToContents();
}

NextPoint NewPointDialog::point() const {
    const auto chosen = static_cast<std::size_t>(way_->currentIndex());
    if (chosen >= ways_.size()) return {};
    NextPoint point = ways_[chosen];
    for (int row = 0; row < files_->rowCount(); ++row)
        if (files_->item(row, proposed)->checkState() != Qt::Checked)
            point.files[static_cast<std::size_t>(row)].new_name.clear();
    return point;
}

}  // namespace vyn
