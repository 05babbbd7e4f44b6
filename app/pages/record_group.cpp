#include "app/pages/record_group.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include "app/pages/elided_label.h"
#include "app/pages/page_parts.h"

namespace vyn {

RecordGroup::RecordGroup(const QString& title, QWidget* parent)
    : QGroupBox(title, parent), grid_(new QGridLayout(this)) {
    grid_->setColumnStretch(1, 1);
}

QPushButton* RecordGroup::add_button(const char* object_name, const QString& text,
                                     Summary summary) {
    QPushButton* button = text_button(object_name, text, this);
    auto* label = new ElidedLabel(Qt::ElideRight, this);
    const int line = grid_->rowCount();
    grid_->addWidget(button, line, 0);
    grid_->addWidget(label, line, 1);
    lines_.push_back({label, summary});
    return button;
}

void RecordGroup::add_row(const QString& label, QWidget* widget) {
    const int line = grid_->rowCount();
    auto* text = new QLabel(label, this);
    text->setBuddy(widget);
    grid_->addWidget(text, line, 0);
    grid_->addWidget(widget, line, 1);
}

void RecordGroup::add_wide(QWidget* widget) {
    grid_->addWidget(widget, grid_->rowCount(), 0, 1, 2);
}

void RecordGroup::fill_up() {
    grid_->setRowStretch(grid_->rowCount(), 1);
}

void RecordGroup::show_summaries() {
    for (const Line& line : lines_) {
        const QString text = QString::fromStdString(line.summary());
        line.label->set_text(text);
        line.label->setToolTip(wrapped(text));
    }
}

}  // namespace vyn
