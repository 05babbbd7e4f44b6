#pragma once

#include <QComboBox>

namespace vyn {

class VynFieldView;

/// The zoom of a view in percent of the screen's own pixels; chosen from a list, or typed.
class ZoomBox : public QComboBox {
    Q_OBJECT
  public:
    explicit ZoomBox(VynFieldView& view);

  private:
    void show_zoom();
    void choose(int index);
    void read_text();
    void set_percent(double percent);

    VynFieldView& view_;
};

}  // namespace vyn
