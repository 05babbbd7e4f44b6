#include "core/log_file.h"

#include <chrono>
#include <ctime>
#include <string>
#include <system_error>

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// The local day, "YYYY-MM-DD".
std::string today() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d", &local)};
}

}  // namespace

LogFile::LogFile(fs::path file, std::uintmax_t most_bytes)
    : file_(std::move(file)),
      most_bytes_(most_bytes),
      sink_([this](const LogLine& line) { write(line); }, LogManager::Filter::every_level) {}

void LogFile::open() {
    std::error_code ignored;
    fs::create_directories(file_.parent_path(), ignored);
    stream_ = std::ofstream(file_, std::ios::app | std::ios::binary);
    const std::uintmax_t size = fs::file_size(file_, ignored);
    bytes_ = ignored ? 0 : size;
}

void LogFile::write(const LogLine& line) {
    if (!stream_.is_open()) open();
    if (bytes_ > most_bytes_) {
        std::error_code ignored;
        fs::rename(file_, fs::path(file_) += ".1", ignored);
        open();
    }
    const std::string text = today() + ' ' + line.time + ' ' + std::to_string(number(line.level)) +
                             ' ' + line.text + '\n';
    // One write per line, so that two programs' lines do not mix.
    stream_.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream_.flush();
    stream_.clear();
    bytes_ += text.size();
}

}  // namespace vyn
