#pragma once

#include <map>
#include <string>
#include <string_view>

#include "api/field_data.h"
#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// How an image of the list stands to the settings, files and images that it came from.
struct ImageState {
    enum class Kind {
        absent,       ///< not in the list
        current,      ///< would come out the same now
        out_of_date,  ///< something behind it changed
        unknown,      ///< where it came from was not noted
    };
    Kind kind = Kind::absent;
    std::string reason;  ///< when out of date: what changed, as half a sentence
};

/// What is to be known of the model's mesh to tell how its values stand.
struct MeshSummary {
    bool loaded = false;
    bool has_values = false;
    std::size_t triangles = 0;
    ImageOrigin origin;
};
MeshSummary summary_of(const field_data<double>& mesh);

/// Compares what images came from with what they would come from now. It looks at files on disk,
/// so it belongs on a thread that may wait.
class ImageStates {
  public:
    ImageStates(const dataSetInterface& data, const imagesList& images)
        : data_(data), images_(images) {}

    /// Of an input (camera picture, dark image, flat field) or a result. A file that is not there
    /// counts as unchanged.
    ImageState of(const std::string& name);
    /// Of the values on the model's mesh; absent where it has none.
    ImageState of_mesh(const MeshSummary& mesh);

  private:
    ImageState compare(const std::string& name, const ImageOrigin& old,
                       const ImageOrigin& now) const;
    const ImageOrigin& origin_now(const std::string& name);
    ImageOrigin compute_origin(const std::string& name);

    const dataSetInterface& data_;
    const imagesList& images_;
    std::map<std::string, ImageOrigin> now_;
};

}  // namespace vyn
