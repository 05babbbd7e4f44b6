#pragma once

#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "app/pages/thumbnail.h"
#include "process/page/page_state.h"
#include "process/point/per_image.h"
#include "render/palette.h"

namespace vyn {

/// What a page shows.
struct PageLook {
    PageState state;
    std::map<std::string, Thumbnail> previews;  ///< by image name
};

/// Looks at settings, images and files behind the window's back, since files may be slow, and tells
/// the page what it found: 0.2 s after settings or images changed, and every two seconds for the
/// sake of the files. Does not look while a job runs.
class PageWatcher : public QObject {
    Q_OBJECT
  public:
    explicit PageWatcher(QObject* parent);
    /// Waits for a look under way.
    ~PageWatcher() override;

    void start();
    /// The palette of the results' previews.
    const palette_array& field_palette() const { return field_palette_; }
    /// Looks as soon as possible, whether or not something changed.
    void look();

  Q_SIGNALS:
    void looked(std::shared_ptr<const PageLook> look);

  private:
    void tick();
    std::shared_ptr<const PageLook> make_look(const MeshSummary& mesh);

    QTimer timer_;
    QThreadPool pool_;
    const palette_array raw_palette_;
    const palette_array field_palette_;
    PerImage<Thumbnail> previews_;
    MeshSummary mesh_;
    bool looking_ = false;
    bool again_ = false;
    std::uint64_t seen_settings_ = 0;
    std::uint64_t seen_images_ = 0;
    std::chrono::steady_clock::time_point last_look_;
};

}  // namespace vyn
