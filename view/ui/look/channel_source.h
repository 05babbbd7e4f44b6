#pragma once

#include <QObject>
#include <array>
#include <optional>

#include "api/image_list.h"
#include "render/fashion.h"
#include "render/view_source.h"
#include "view/ui/compare/other_picture.h"

namespace vyn {

/// What a view draws for a choice of channels; keeps the reduced images of the others.
class ChannelSource : public QObject {
    Q_OBJECT
  public:
    ChannelSource();

    /// Nothing for channel 1, which is the image of the view, `own`, itself. The others are looked
    /// up by their names; one that is not there, or not prepared yet, is left out of a colour
    /// image.
    std::optional<ViewSource> source(const ColourChannels& channels,
                                     const std::shared_ptr<const ImageLevels>& own,
                                     const imagesList& list);

  Q_SIGNALS:
    /// An image that was left out is prepared.
    void changed();

  private:
    const std::shared_ptr<const ImageLevels>& channel(std::size_t index, const std::string& name,
                                                      const imagesList& list);

    std::array<OtherPicture, ColourChannels::count> others_;
};

}  // namespace vyn
