#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <png.h>

namespace vyn::plugins {

/// libpng's state for one file that is read. The library reports an error by a long jump over
/// everything between its call and `guarded`; so the steps handed to `guarded` hold nothing that
/// needs a destructor, and whatever they fill lives outside of them.
class PngSession {
  public:
    /// Opens the file; `is_open` says whether that worked.
    explicit PngSession(const std::filesystem::path& file);
    ~PngSession();
    PngSession(const PngSession&) = delete;
    PngSession& operator=(const PngSession&) = delete;

    bool is_open() const { return stream_ && png_ && info_; }

    png_structp png() const { return png_; }
    png_infop info() const { return info_; }
    /// What the library complained of; empty when it did not.
    const char* complaint() const { return complaint_; }

    /// Runs calls of the library; false when one of them failed. See above.
    template <class Step>
    bool guarded(const Step& step) {
        // The step itself is a call of its own, so that no local of this frame changes after
        // setjmp.
        if (setjmp(png_jmpbuf(png_))) return false;
        step();
        return true;
    }

  private:
    static void on_error(png_structp png, png_const_charp text);
    static void on_warning(png_structp, png_const_charp) {}

    struct Closer {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    std::unique_ptr<std::FILE, Closer> stream_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    char complaint_[200] = "";
};

}  // namespace vyn::plugins
