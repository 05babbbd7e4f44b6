#pragma once

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include <pybind11/pybind11.h>

#include "core/task.h"

namespace vyn::python {

/// Does the work on a thread of its own, while other threads of Python run. The calling thread
/// looks after signals and tells `callback`, unless it is None, status and share of the work done
/// (0 to 1). What a signal or the callback raises (KeyboardInterrupt of Ctrl-C) stops the work and
/// is raised once it has ended; errors of the work are raised as they are. The work must not touch
/// an object of Python.
void run_interruptibly(const pybind11::object& callback,
                       const std::function<void(TaskContext&)>& work);

/// The same with a result.
template <class Work>
auto interruptibly(const pybind11::object& callback, const Work& work) {
    std::optional<std::invoke_result_t<const Work&, TaskContext&>> result;
    run_interruptibly(callback, [&](TaskContext& context) { result.emplace(work(context)); });
    return std::move(*result);
}

}  // namespace vyn::python
