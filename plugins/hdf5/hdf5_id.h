#pragma once

#include <utility>

#include <hdf5.h>

namespace vyn::plugins {

/// An identifier of the library, closed at its end.
class Hdf5Id {
  public:
    using Close = herr_t (*)(hid_t);
    Hdf5Id(hid_t id, Close close) : id_(id), close_(close) {}
    ~Hdf5Id() {
        if (id_ >= 0) close_(id_);
    }
    Hdf5Id(Hdf5Id&& other) noexcept : id_(std::exchange(other.id_, -1)), close_(other.close_) {}
    Hdf5Id& operator=(Hdf5Id&&) = delete;

    operator hid_t() const { return id_; }
    bool good() const { return id_ >= 0; }

  private:
    hid_t id_;
    Close close_;
};

}  // namespace vyn::plugins
