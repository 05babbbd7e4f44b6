#include "view/ui/look/channel_source.h"

namespace vyn {

ChannelSource::ChannelSource() {
    for (const OtherPicture& other : others_)
        connect(&other, &OtherPicture::prepared, this, &ChannelSource::changed);
}

const std::shared_ptr<const ImageLevels>& ChannelSource::channel(std::size_t index,
                                                                 const std::string& name,
                                                                 const imagesList& list) {
    OtherPicture& other = others_[index];
    const auto picture = list.find(name);
    const bool another = !other.wanted() || other.wanted()->name != name;
    if (another) other.want(nullptr);
    if (picture != other.wanted()) other.want(picture);
    return other.levels();
}

std::optional<ViewSource> ChannelSource::source(const ColourChannels& channels,
                                                const std::shared_ptr<const ImageLevels>& own,
                                                const imagesList& list) {
    if (channels.shown == ColourChannels::colour)
        return ColourSource{
            {own, channel(1, channels.names[1], list), channel(2, channels.names[2], list)}};
    const auto index = static_cast<std::size_t>(channels.shown - 1);
    if (index == 0) return std::nullopt;
    if (auto levels = channel(index, channels.names[index], list))
        return FieldSource{std::move(levels)};
    return std::nullopt;
}

}  // namespace vyn
