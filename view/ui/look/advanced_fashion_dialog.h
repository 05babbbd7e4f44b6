#pragma once

#include "view/ui/compare/picture_labels.h"
#include "view/ui/look/fashion_dialog.h"

class QButtonGroup;

namespace vyn {

class HistogramPlot;

/// The same with a histogram and with further images, shown one by one or as colours.
class QAdvFashionDlg final : public QFashionDlg {
    Q_OBJECT
  public:
    /// `images` are those that can be channels.
    QAdvFashionDlg(const Fashion& fashion, const std::vector<PictureChoice>& images,
                   QWidget* parent = nullptr);

    void show_fashion(const Fashion& fashion) override;

  private:
    void show_values(const PictureValues& values) override;
    QGroupBox* make_channel_group(const std::vector<PictureChoice>& images);
    void channels_changed();

    HistogramPlot* histogram_ = nullptr;
    QButtonGroup* shown_ = nullptr;
    std::array<QComboBox*, ColourChannels::count> channels_{};
};

}  // namespace vyn
