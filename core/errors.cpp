#include "core/errors.h"

#include <cstring>
#include <mutex>
#include <set>

#include "core/log.h"

namespace vyn {

namespace {

constexpr std::size_t longest_system_message = 100;

/// At most so many bytes of a UTF-8 text, without a torn last character.
std::string cut(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) return std::string(text);
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    while (bytes > 0 && continues(text[bytes]))
        --bytes;
    return std::string(text.substr(0, bytes));
}

/// The unit's name of a source file: kept for good, also when the plug-in that raised is unloaded.
const char* without_extension(std::string_view file) {
    static std::mutex mutex;
    static std::set<std::string, std::less<>> units;
    const std::string_view unit = file.substr(0, file.rfind('.'));
    const std::lock_guard lock(mutex);
    const auto known = units.find(unit);
    return (known != units.end() ? known : units.emplace(unit).first)->c_str();
}

thread_local int unlogged = 0;

}  // namespace

UnloggedErrors::UnloggedErrors() {
    ++unlogged;
}

UnloggedErrors::~UnloggedErrors() {
    --unlogged;
}

GenericError::GenericError(const char* text_, int code_, std::string detail_, ErrorPlace at)
    : text(text_),
      code(code_),
      file(without_extension(at.file)),
      line(at.line),
      detail(std::move(detail_)) {
    message_ = detail.empty() ? text : std::string(text) + ": " + detail;
    if (unlogged > 0) return;
    get_log().write(LogLevel::error,
                    std::string(text) + " in:" + file + ":" + std::to_string(line));
    if (!detail.empty()) get_log().write(LogLevel::error, detail);
}

std::string GenericError::where() const {
    return std::string(text) + " at " + file + ":" + std::to_string(line);
}

SystemError::SystemError(const char* text_, int os_error, std::string detail_, ErrorPlace at)
    : GenericError(text_, os_error, std::move(detail_), at) {
    if (unlogged == 0)
        get_log().write(LogLevel::error, "System error # " + std::to_string(os_error));
}

std::string SystemError::system_message() const {
    if (code == 0) return "System Error";
    char buffer[256];
    return cut(strerror_r(code, buffer, sizeof buffer), longest_system_message);
}

}  // namespace vyn
