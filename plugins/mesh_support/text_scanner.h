#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "core/progress.h"

namespace vyn::plugins {

/// Words and numbers of a text between white space; numbers have a decimal point whatever the
/// locale. Refusals name the file and the line. Polls abort as it goes.
class TextScanner {
  public:
    /// `text` must outlive the scanner.
    TextScanner(std::filesystem::path file, std::string_view text, Progress& progress)
        : file_(std::move(file)), text_(text), progress_(progress) {}

    /// True when only white space is left.
    bool at_end();
    /// The next word without taking it; empty at the end.
    std::string_view peek();
    /// Refuses at the end of the text; so do all below.
    std::string_view word();
    /// A finite number, also with the exponent letter D of Fortran.
    double number();
    /// The same, with "nan" allowed.
    double value();
    /// A whole number from low to high.
    std::int64_t whole(std::int64_t low, std::int64_t high);
    /// A count of things that each need at least `bytes` of the text that is left.
    std::size_t count(std::size_t bytes);
    /// The rest of the line, without its end.
    std::string_view line();
    /// The character there, or 0 at the end.
    char next() const { return place_ < text_.size() ? text_[place_] : '\0'; }
    void skip(std::size_t characters);
    std::string_view rest() const { return text_.substr(place_); }
    std::size_t place() const { return place_; }

    [[noreturn]] void refuse(const std::string& why) const;

  private:
    double number_or_nan();
    void skip_blanks();
    void poll();

    std::filesystem::path file_;
    std::string_view text_;
    Progress& progress_;
    std::size_t place_ = 0;
    std::size_t word_begin_ = 0;
    unsigned polls_ = 0;
};

}  // namespace vyn::plugins
