#pragma once

#include <QObject>
#include <QTimer>
#include <memory>
#include <string>

#include "api/image_list.h"
#include "render/fashion.h"
#include "view/ui/canvas/image_watcher.h"
#include "view/ui/compare/other_picture.h"

namespace vyn {

class VynFieldView;

/// Compares the image of a view with another one by eye: both in turn, or their difference. The
/// check of an alignment.
class Comparison : public QObject {
    Q_OBJECT
  public:
    enum class Kind { none, blink, difference };

    explicit Comparison(VynFieldView& view);

    /// Only images of one size have a difference.
    static bool comparable(Kind kind, const std::shared_ptr<const image>& own,
                           const std::shared_ptr<const image>& other);
    /// Starts, in the place of what runs; seen as soon as the other image is prepared. That is
    /// followed like the view's own. While the difference is shown, the view has limits and palette
    /// of its own for it.
    void start(Kind kind, std::shared_ptr<const imagesList> list, const std::string& name);
    void stop();
    Kind kind() const { return kind_; }
    /// The other image; null without a comparison, or before it is prepared.
    std::shared_ptr<const image> other() const {
        return other_.levels() ? other_.levels()->shared_picture() : nullptr;
    }
    /// While they blink: the other image is seen.
    bool others_turn() const { return others_turn_; }
    /// The view shows another image.
    void picture_changed();
    /// "A", "B" or "A - B", which of the two the view shows now; empty without a comparison.
    QString caption() const;

  Q_SIGNALS:
    /// Started, stopped, or the other image is in turn.
    void changed();

  private:
    void follow_other();
    /// As soon as it is prepared.
    void show_other();
    void begin();
    void show_turn();

    VynFieldView& view_;
    Kind kind_ = Kind::none;
    std::string name_;
    ImageWatcher watcher_;
    OtherPicture other_;
    bool begun_ = false;  ///< the other image was there, and is seen
    QTimer timer_;
    bool others_turn_ = false;
    Fashion before_;
};

}  // namespace vyn
