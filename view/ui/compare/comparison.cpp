#include "view/ui/compare/comparison.h"

#include "render/difference.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/compare/picture_labels.h"

namespace vyn {

namespace {

constexpr int blink_ms = 500;
constexpr const char* signed_palette = "Cp";

}  // namespace

Comparison::Comparison(VynFieldView& view) : QObject(&view), view_(view) {
    timer_.setInterval(blink_ms);
    connect(&timer_, &QTimer::timeout, this, [this] {
        others_turn_ = !others_turn_;
        show_turn();
    });
    connect(&watcher_, &ImageWatcher::changed, this, &Comparison::follow_other);
    connect(&other_, &OtherPicture::prepared, this, &Comparison::show_other);
}

bool Comparison::comparable(Kind kind, const std::shared_ptr<const image>& own,
                            const std::shared_ptr<const image>& other) {
    if (kind == Kind::none || !own || !other) return false;
    return kind == Kind::blink ||
           (own->width() == other->width() && own->height() == other->height());
}

void Comparison::start(Kind kind, std::shared_ptr<const imagesList> list, const std::string& name) {
    stop();
    watcher_.watch(std::move(list), name);
    if (!comparable(kind, view_.picture(), watcher_.current())) return;
    kind_ = kind;
    name_ = name;
    other_.want(watcher_.current());
    Q_EMIT changed();
    show_other();
}

void Comparison::show_other() {
    if (kind_ == Kind::none || other_.preparing()) return;
    if (!comparable(kind_, view_.picture(), other())) return stop();
    if (!begun_) begin();
    show_turn();
}

void Comparison::begin() {
    begun_ = true;
    if (kind_ == Kind::difference) {
        before_ = view_.fashion();
        Fashion fashion = before_;
        const Limits limits = difference_limits(*view_.levels(), *other_.levels());
        if (limits.minimum < limits.maximum) fashion.limits = tidy(limits);
        if (const palette_array* palette = find_palette(signed_palette))
            fashion.set_palette(*palette);
        view_.set_fashion(fashion);
    } else {
        others_turn_ = true;
        timer_.start();
    }
}

void Comparison::stop() {
    if (kind_ == Kind::none) return;
    const bool restore = begun_ && kind_ == Kind::difference;
    kind_ = Kind::none;
    begun_ = false;
    timer_.stop();
    others_turn_ = false;
    other_.want(nullptr);
    view_.show_instead(std::nullopt);
    if (restore) view_.set_fashion(before_);
    Q_EMIT changed();
}

void Comparison::follow_other() {
    if (kind_ == Kind::none) return;
    if (!comparable(kind_, view_.picture(), watcher_.current())) return stop();
    other_.want(watcher_.current());
    show_other();
}

void Comparison::picture_changed() {
    if (kind_ == Kind::none) return;
    if (!comparable(kind_, view_.picture(), watcher_.current())) return stop();
    show_turn();
}

void Comparison::show_turn() {
    if (begun_ && kind_ == Kind::difference)
        view_.show_instead(DifferenceSource{view_.levels(), other_.levels()});
    else if (others_turn_)
        view_.show_instead(FieldSource{other_.levels()});
    else
        view_.show_instead(std::nullopt);
    Q_EMIT changed();
}

QString Comparison::caption() const {
    if (kind_ == Kind::none || !view_.picture()) return {};
    const QString own = picture_label(view_.picture()->name);
    const QString other = picture_label(name_);
    if (kind_ == Kind::difference) return tr("%1 - %2").arg(own, other);
    return others_turn_ ? other : own;
}

}  // namespace vyn
