#pragma once

#include <map>
#include <string>
#include <vector>

#include "process/page/input_remarks.h"
#include "process/page/page_rows.h"
#include "process/page/requirements.h"
#include "process/steps/result_state.h"

namespace vyn {

/// What a page shows in the row of an input file.
struct RowState {
    std::string file;      ///< as the setting names it; empty: none
    std::string path;      ///< where it is; empty: nowhere
    std::string note;      ///< what was read from it: "640 x 480", "25 markers"
    std::string problem;   ///< why it needs attention; may be empty
    bool missing = false;  ///< the file that is named is not there
    bool unsaved = false;  ///< markers are drawn that no file holds
    bool loaded = false;   ///< its image, or the image that it belongs to, is in the list
};

/// In the place of an image's name: the field on the model's mesh.
inline constexpr const char* model_result = "field_3d";

struct ResultEntry {
    std::string image;
    std::string label;
    ImageState state;
};

/// Everything that an experiment page shows beside pictures.
struct PageState {
    ExperimentType type = ExperimentType::single;
    std::map<std::string, RowState> rows;  ///< by the rows' stems
    RowState mesh;
    RowState model_markers;
    std::vector<ResultEntry> results;  ///< that are there or would be after a run
    StepNeeds needs;
    std::vector<Remark> remarks;
};

/// Looks at settings, images and files on disk, which may take its time where those are far away.
PageState page_state(const dataSetInterface& data, const imagesList& images,
                     const MeshSummary& mesh = {});

}  // namespace vyn
