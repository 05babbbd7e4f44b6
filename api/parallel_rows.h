#pragma once

#include "core/progress.h"

namespace vyn::detail {

/// A reference to a callable `void(int y0, int y1)`.
class RowBlockBody {
  public:
    template <class Body>
    explicit RowBlockBody(const Body& body)
        : body_(&body), call_([](const void* address, int y0, int y1) {
              (*static_cast<const Body*>(address))(y0, y1);
          }) {}
    void operator()(int y0, int y1) const { call_(body_, y0, y1); }

  private:
    const void* body_;
    void (*call_)(const void*, int, int);
};

void run_row_blocks(int rows, int block, Progress& progress, RowBlockBody body);

/// Calls `call(context, i)` for every i of 0..count from several threads and waits for all.
void for_each_index(int count, void* context, void (*call)(void* context, int index));

}  // namespace vyn::detail

namespace vyn {

template <class Body>
void parallel_rows(int rows, int block, Progress& progress, const Body& body) {
    detail::run_row_blocks(rows, block, progress, detail::RowBlockBody(body));
}

}  // namespace vyn
