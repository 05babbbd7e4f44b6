#include "core/ui/box_context.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <atomic>
#include <chrono>
#include <future>

#include "core/messages.h"

namespace vyn {

namespace {

/// Shared by the asking and the showing thread; whichever ends last frees it.
struct Request {
    std::promise<bool> answer;
    std::atomic<bool> abandoned{false};
};

}  // namespace

void BoxContext::message(const std::string& text) {
    ask([text] {
        vyn::message(text.c_str());
        return true;
    });
}

bool BoxContext::question(const std::string& text) {
    return ask([text] { return vyn::question(text.c_str()); });
}

bool BoxContext::ask(std::function<bool()> show) {
    const auto request = std::make_shared<Request>();
    std::future<bool> answer = request->answer.get_future();
    QMetaObject::invokeMethod(
        qApp,
        [request, show = std::move(show)] {
            if (!request->abandoned) request->answer.set_value(show());
        },
        Qt::QueuedConnection);
    while (answer.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
        if (!aborted()) continue;
        request->abandoned = true;
        throw Aborted{};
    }
    return answer.get();
}

}  // namespace vyn
