#include "core/messages.h"

#include <cstdio>
#include <mutex>

namespace vyn {

namespace {

struct Functions {
    InformationFunction information;
    QuestionFunction question;
};

void print(const char* text) {
    std::fprintf(stderr, "%s\n", text);
}

Functions default_functions() {
    return {print, [](const char* text) {
                print(text);
                return false;
            }};
}

std::mutex mutex;

/// Called with the mutex held.
Functions& current() {
    static Functions functions = default_functions();
    return functions;
}

/// A copy, so that the call itself runs outside the lock and may last.
Functions copy_of_current() {
    const std::lock_guard lock(mutex);
    return current();
}

}  // namespace

void set_custom_message_fun(InformationFunction information, QuestionFunction question) {
    const std::lock_guard lock(mutex);
    current() = {std::move(information), std::move(question)};
}

void set_default_message_fun() {
    const std::lock_guard lock(mutex);
    current() = default_functions();
}

void message(const char* text) {
    copy_of_current().information(text);
}

bool question(const char* text) {
    return copy_of_current().question(text);
}

}  // namespace vyn
