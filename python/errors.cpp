#include "core/errors.h"

#include <utility>

#include "core/progress.h"
#include "python/binding.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

/// Kept for as long as the interpreter runs.
struct ErrorTypes {
    PyObject* any = nullptr;
    PyObject* file = nullptr;
    PyObject* state = nullptr;
    PyObject* algorithm = nullptr;
    PyObject* size = nullptr;
};
ErrorTypes types;

PyObject* add_type(py::module_& module, const char* name, PyObject* base, const char* meaning) {
    const std::string full = "vynlite." + std::string(name);
    PyObject* type = PyErr_NewExceptionWithDoc(full.c_str(), meaning, base, nullptr);
    if (!type) throw py::error_already_set();
    module.add_object(name, type);
    return type;
}

void raise(PyObject* type, const GenericError& error) {
    const py::object value = py::reinterpret_borrow<py::object>(type)(text(error.what()));
    value.attr("text") = text(error.text);
    value.attr("detail") = text(error.detail);
    PyErr_SetObject(type, value.ptr());
}

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const FileError& error) {
        raise(types.file, error);
    } catch (const StateError& error) {
        raise(types.state, error);
    } catch (const AlgoError& error) {
        raise(types.algorithm, error);
    } catch (const DimError& error) {
        raise(types.size, error);
    } catch (const IndexError& error) {
        raise(types.size, error);
    } catch (const GenericError& error) {
        raise(types.any, error);
    } catch (const Aborted&) {
        PyErr_SetNone(PyExc_KeyboardInterrupt);
    }
}

}  // namespace

void bind_errors(py::module_& module) {
    types.any = add_type(module, "Error", PyExc_Exception,
                         "Every failure of VynLite. `text` says what failed, `detail` which file, "
                         "setting or value and what is wrong with it; str() gives both.");
    types.file = add_type(module, "FileError", types.any,
                          "A file that cannot be read or written, or is not what it should be.");
    types.state = add_type(module, "StateError", types.any,
                           "Something that cannot be done now, such as two tasks in one session.");
    types.algorithm = add_type(module, "AlgoError", types.any,
                               "A computation that has no result, or whose options are wrong.");
    types.size = add_type(module, "SizeError", types.any,
                          "Images or planes that should have the same size and have not.");
    py::register_exception_translator(&translate);
}

}  // namespace vyn::python
