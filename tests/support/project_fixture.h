#pragma once

#include <gtest/gtest.h>

#include "api/image_io.h"
#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/project/ims.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {

/// An empty project and image list before and after each test, with the image formats loaded.
class ProjectTest : public testing::Test {
  protected:
    ProjectTest() {
        register_plugins("*.2dio");
        reset();
    }
    ~ProjectTest() override { reset(); }

    static void reset() {
        vyn_db().clear();
        get_images().clear();
        clear_ims();
    }

    /// Runs a task or job on this thread.
    template <class SomeTask>
    TaskOutcome run(SomeTask&& task) {
        return task.run(context);
    }

    TemporaryFolder folder;
    TaskContext context;
};

/// Bits of the values and bytes of the masks are the same.
inline testing::AssertionResult same_bits(const image& a, const image& b) {
    if (!a.values().same_size(b.values())) return testing::AssertionFailure() << "sizes differ";
    for (int y = 0; y < a.height(); ++y) {
        const auto bytes = static_cast<std::size_t>(a.width());
        if (std::memcmp(a.values().row(y), b.values().row(y), bytes * sizeof(float)) != 0)
            return testing::AssertionFailure() << "values differ in row " << y;
        if (std::memcmp(a.mask().row(y), b.mask().row(y), bytes) != 0)
            return testing::AssertionFailure() << "masks differ in row " << y;
    }
    return testing::AssertionSuccess();
}

}  // namespace vyn::test
