#pragma once

#include <QGridLayout>
#include <QWidget>
#include <vector>

namespace vyn {

/// Widgets in two columns of the same width, or below each other where the place is narrow.
class CardGrid : public QWidget {
  public:
    explicit CardGrid(QWidget* parent = nullptr);
    void add(QWidget* card);

    QSize minimumSizeHint() const override;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void arrange(int columns);
    int widest() const;

    QGridLayout* grid_;
    std::vector<QWidget*> cards_;
    int columns_ = 0;
};

}  // namespace vyn
