#pragma once

#include <QObject>
#include <memory>

#include "render/image_levels.h"
#include "view/ui/canvas/preparation.h"

namespace vyn {

/// An image that a view shows beside or instead of its own: holds it with its reduced copies.
class OtherPicture : public QObject {
    Q_OBJECT
  public:
    /// Prepares an image (null: none), at once or behind; the one before stays until then.
    void want(const std::shared_ptr<const image>& picture);
    const std::shared_ptr<const image>& wanted() const { return wanted_; }
    /// Of the image wanted, of the one before while that is being prepared, or null.
    const std::shared_ptr<const ImageLevels>& levels() const { return levels_; }
    bool preparing() const { return preparation_.running(); }

  Q_SIGNALS:
    /// An image that was prepared behind is there, or failed and there is none.
    void prepared();

  private:
    std::shared_ptr<const image> wanted_;
    std::shared_ptr<const ImageLevels> levels_;
    Preparation preparation_;
};

}  // namespace vyn
