#pragma once

#include "api/field_data.h"
#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// What the work on one test point goes on: its settings, its images and the field on its mesh.
/// Tasks, pages and containers are handed one and know no other, so that several can stand side by
/// side in a process. It refers to what it names, which must outlive it.
struct Session {
    dataSetInterface& data;
    imagesList& images;
    field_data<double>& field;
};

/// The session that the window shows.
Session program_session();

/// A session that owns what it names.
class OwnSession {
  public:
    Session get() { return {data, images, field}; }

    simpleNamedDataSet data;
    imagesList images;
    field_data<double> field;
};

}  // namespace vyn
