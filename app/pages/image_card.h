#pragma once

#include <QGroupBox>
#include <map>
#include <vector>

#include "app/pages/page_watcher.h"

class QFormLayout;
class QGridLayout;
class QToolButton;

namespace vyn {

class InputRow;
class SettingEdit;

/// One camera picture of the test point: a preview, its files and its dark level. The dark level is
/// written when its edit loses the focus.
class ImageCard : public QGroupBox {
    Q_OBJECT
  public:
    explicit ImageCard(const PageCard& card, QWidget* parent = nullptr);

    const std::vector<InputRow*>& rows() const { return rows_; }
    void show_look(const PageLook& look);

  Q_SIGNALS:
    void view_wanted(const std::string& image);
    void settings_changed();

  private:
    const RawImage* raw_;
    QToolButton* preview_;
    qint64 shown_ = 0;  ///< which picture the preview shows
    std::vector<InputRow*> rows_;
    SettingEdit* dark_ = nullptr;
};

}  // namespace vyn
