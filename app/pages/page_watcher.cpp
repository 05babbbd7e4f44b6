#include "app/pages/page_watcher.h"

#include "api/field_data.h"
#include "app/pages/thumbnail.h"
#include "core/ui/command.h"
#include "core/worker.h"

namespace vyn {

namespace {

constexpr int tick_ms = 200;
constexpr std::chrono::seconds file_interval{2};
/// Sharp in the page's previews up to a scale of 200 %.
constexpr QSize preview_size{400, 300};

palette_array palette_named(const char* name) {
    const palette_array* found = find_palette(name);
    return found ? *found : palette_array();
}

}  // namespace

PageWatcher::PageWatcher(QObject* parent)
    : QObject(parent), raw_palette_(palette_named("grey")), field_palette_() {
    pool_.setMaxThreadCount(1);
    timer_.setInterval(tick_ms);
    connect(&timer_, &QTimer::timeout, this, &PageWatcher::tick);
}

PageWatcher::~PageWatcher() {
    pool_.waitForDone();
}

void PageWatcher::start() {
    timer_.start();
    look();
}

void PageWatcher::tick() {
    if (!idle_flag()) return;
    const bool changed =
        vyn_db().revision() != seen_settings_ || get_images().revision() != seen_images_;
    if (changed || std::chrono::steady_clock::now() - last_look_ > file_interval) look();
}

void PageWatcher::look() {
    if (looking_) {
        again_ = true;
        return;
    }
    looking_ = true;
    again_ = false;
    last_look_ = std::chrono::steady_clock::now();
    seen_settings_ = vyn_db().revision();
    seen_images_ = get_images().revision();
    // The field is the worker's and the window's, not the pool's.
    if (idle_flag()) mesh_ = summary_of(get_field_data());
    pool_.start([this, mesh = mesh_] {
        std::shared_ptr<const PageLook> found;
        run_logged([&] { found = make_look(mesh); });
        QMetaObject::invokeMethod(
            this,
            [this, found] {
                looking_ = false;
                if (found) Q_EMIT looked(found);
                if (again_) look();
            },
            Qt::QueuedConnection);
    });
}

std::shared_ptr<const PageLook> PageWatcher::make_look(const MeshSummary& mesh) {
    auto look = std::make_shared<PageLook>();
    const imagesList& images = get_images();
    look->state = page_state(vyn_db(), images, mesh);
    for (const auto& picture : images.all())
        look->previews[picture->name] = previews_.get(picture, [this](const image& whole) {
            const bool raw = is_camera_file(whole.name) || whole.name.ends_with("_cor") ||
                             whole.name.ends_with("_aligned");
            return thumbnail(whole, preview_size, raw ? raw_palette_ : field_palette_);
        });
    return look;
}

}  // namespace vyn
