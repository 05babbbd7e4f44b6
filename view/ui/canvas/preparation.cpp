#include "view/ui/canvas/preparation.h"

#include "api/image.h"
#include "core/ui/command.h"

namespace vyn {

Preparation::When Preparation::when_for(const image& picture) {
    constexpr std::int64_t small = 1 << 20;
    return std::int64_t{picture.width()} * picture.height() <= small ? When::at_once : When::behind;
}

Preparation::Preparation(QObject* parent) : QObject(parent) {
    pool_.setMaxThreadCount(1);
}

Preparation::~Preparation() {
    cancel();
    pool_.waitForDone();
}

void Preparation::cancel() {
    if (context_) context_->abort();
    context_.reset();
    pool_.clear();
}

void Preparation::run(When when, const std::function<void(Progress&)>& compute,
                      const std::function<void()>& deliver) {
    cancel();
    const auto context = std::make_shared<TaskContext>();
    context_ = context;
    if (when == When::at_once) {
        compute(*context);
        finish(context, deliver);
        return;
    }
    pool_.start([this, context, compute, deliver] {
        if (!run_logged([&] { compute(*context); })) context->abort();
        QMetaObject::invokeMethod(
            this, [this, context, deliver] { finish(context, deliver); }, Qt::QueuedConnection);
    });
}

void Preparation::finish(const std::shared_ptr<TaskContext>& context,
                         const std::function<void()>& deliver) {
    if (context != context_) return;
    context_.reset();
    deliver();
}

}  // namespace vyn
