#pragma once

#include "api/image_io.h"
#include "sample/model_point.h"
#include "tests/app/app_fixture.h"

namespace vyn::test {

/// The window beside a folder with a small point on a model.
class ModelPointTest : public AppTest {
  protected:
    explicit ModelPointTest(int cameras = 1) {
        register_plugins("*.3dio");
        ModelPointOptions options;
        options.point.width = 240;
        options.point.height = 180;
        options.mesh_nodes = 4000;
        options.cameras = cameras;
        Progress silent;
        write_model_point(make_model_point(options, silent), folder.path(), silent);
    }
};

}  // namespace vyn::test
