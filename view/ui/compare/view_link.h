#pragma once

#include <QObject>

namespace vyn {

class VynFieldView;

/// Links a view with all other linked views: they show the same part of their images.
class ViewLink : public QObject {
  public:
    explicit ViewLink(VynFieldView& view);
    ~ViewLink() override;

    /// A view that joins shows what those that are linked already show.
    void set_linked(bool linked);

  private:
    void pass_on();

    VynFieldView& view_;
    bool following_ = false;
};

}  // namespace vyn
