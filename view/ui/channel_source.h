#pragma once

#include <array>
#include <memory>
#include <optional>

#include "api/image_list.h"
#include "view/fashion.h"
#include "view/view_source.h"

namespace vyn {

/// What a view draws for a choice of channels; keeps the reduced images of the others.
class ChannelSource {
  public:
    /// Nothing for channel 1, which is the image of the view, `own`, itself. The others are looked
    /// up by their names; one that is not there is left out of a colour image.
    std::optional<ViewSource> source(const ColourChannels& channels,
                                     const std::shared_ptr<const ImageLevels>& own,
                                     const imagesList& list);

  private:
    std::shared_ptr<const ImageLevels> channel(std::size_t index, const std::string& name,
                                               const imagesList& list);

    std::array<std::shared_ptr<const ImageLevels>, ColourChannels::count> kept_;
};

}  // namespace vyn
