#include "app/pages/card_grid.h"

#include <QResizeEvent>

namespace vyn {

CardGrid::CardGrid(QWidget* parent) : QWidget(parent), grid_(new QGridLayout(this)) {
    grid_->setSizeConstraint(QLayout::SetNoConstraint);
    grid_->setContentsMargins(0, 0, 0, 0);
}

void CardGrid::add(QWidget* card) {
    cards_.push_back(card);
    arrange(columns_ == 0 ? 2 : columns_);
}

int CardGrid::widest() const {
    int width = 0;
    for (const QWidget* card : cards_)
        width = std::max(width, card->minimumSizeHint().width());
    return width;
}

QSize CardGrid::minimumSizeHint() const {
    return {widest(), grid_->minimumSize().height()};
}

void CardGrid::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const int columns = width() >= 2 * widest() + grid_->horizontalSpacing() ? 2 : 1;
    if (columns != columns_) arrange(columns);
}

void CardGrid::arrange(int columns) {
    columns_ = columns;
    const int count = static_cast<int>(cards_.size());
    for (int i = 0; i < count; ++i)
        grid_->addWidget(cards_[static_cast<std::size_t>(i)], i / columns, i % columns);
    grid_->setColumnStretch(0, 1);
    grid_->setColumnStretch(1, columns == 2 ? 1 : 0);
    updateGeometry();
}

}  // namespace vyn
