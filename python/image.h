#pragma once

#include <memory>
#include <optional>

#include <pybind11/pybind11.h>

#include "api/image.h"

namespace vyn::python {

/// What Python calls an Image: a constant snapshot that it shares with sessions, arrays and running
/// computations. Who changes one of its attributes gives it another snapshot.
struct ImageHandle {
    std::shared_ptr<const image> picture;

    ImageHandle(std::shared_ptr<const image> shared) : picture(std::move(shared)) {}
    ImageHandle(image&& made) : picture(std::make_shared<const image>(std::move(made))) {}

    const image& get() const { return *picture; }

    template <class Change>
    void change(const Change& make) {
        image changed = *picture;
        make(changed);
        picture = std::make_shared<const image>(std::move(changed));
    }
};

/// The image of a handle, null of None.
inline std::shared_ptr<const image> picture_of(const std::optional<ImageHandle>& handle) {
    return handle ? handle->picture : nullptr;
}

}  // namespace vyn::python
