#include "plugins/mesh_support/text_scanner.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "core/numbers.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

constexpr bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

void TextScanner::refuse(const std::string& why) const {
    const auto lines =
        1 +
        std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(word_begin_), '\n');
    plugins::refuse(file_, "line " + std::to_string(lines) + ": " + why);
}

void TextScanner::skip_blanks() {
    while (place_ < text_.size() && is_blank(text_[place_]))
        ++place_;
}

bool TextScanner::at_end() {
    skip_blanks();
    return place_ == text_.size();
}

void TextScanner::poll() {
    if ((++polls_ & 0xFFFFU) != 0) return;
    throw_if_aborted(progress_);
    progress_.fraction(static_cast<double>(place_) / static_cast<double>(text_.size()));
}

std::string_view TextScanner::peek() {
    skip_blanks();
    std::size_t end = place_;
    while (end < text_.size() && !is_blank(text_[end]))
        ++end;
    return text_.substr(place_, end - place_);
}

std::string_view TextScanner::word() {
    poll();
    const std::string_view found = peek();
    word_begin_ = place_;
    if (found.empty()) refuse("the file ends too early");
    place_ += found.size();
    return found;
}

double TextScanner::number_or_nan() {
    poll();
    skip_blanks();
    word_begin_ = place_;
    const char* begin = text_.data() + place_;
    const char* end = text_.data() + text_.size();
    double number = 0;
    const auto [stop, problem] = std::from_chars(begin, end, number);
    if (problem == std::errc() && (stop == end || is_blank(*stop))) {
        place_ += static_cast<std::size_t>(stop - begin);
        return number;
    }
    std::string found(word());
    std::ranges::replace_if(
        found, [](char c) { return c == 'd' || c == 'D'; }, 'e');
    const auto parsed = parse_double(found);
    if (!parsed) refuse("'" + found.substr(0, 40) + "' is no number");
    return *parsed;
}

double TextScanner::number() {
    const double number = number_or_nan();
    if (!std::isfinite(number)) refuse("a number is not finite");
    return number;
}

double TextScanner::value() {
    const double number = number_or_nan();
    if (std::isinf(number)) refuse("a number is not finite");
    return number;
}

std::int64_t TextScanner::whole(std::int64_t low, std::int64_t high) {
    const std::string_view found = word();
    std::int64_t number = 0;
    const char* end = found.data() + found.size();
    const auto [stop, problem] = std::from_chars(found.data(), end, number);
    if (problem != std::errc() || stop != end)
        refuse("'" + std::string(found.substr(0, 40)) + "' is no whole number");
    if (number < low || number > high)
        refuse(std::to_string(number) + " is not from " + std::to_string(low) + " to " +
               std::to_string(high));
    return number;
}

std::size_t TextScanner::count(std::size_t bytes) {
    const auto number = whole(0, std::int64_t{1} << 48);
    const auto room = (text_.size() - place_) / bytes + 1;
    if (static_cast<std::uint64_t>(number) > room)
        refuse("the file is too short for a count of " + std::to_string(number));
    return static_cast<std::size_t>(number);
}

std::string_view TextScanner::line() {
    poll();
    word_begin_ = place_;
    const std::size_t end = std::min(text_.find('\n', place_), text_.size());
    std::string_view found = text_.substr(place_, end - place_);
    place_ = std::min(end + 1, text_.size());
    if (found.ends_with('\r')) found.remove_suffix(1);
    return found;
}

void TextScanner::skip(std::size_t characters) {
    place_ = std::min(place_ + characters, text_.size());
}

}  // namespace vyn::plugins
