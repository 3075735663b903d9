#include "python/bindings/errors.h"

#include <pybind11/pybind11.h>

#include <exception>
#include <memory>
#include <typeinfo>

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/persistent.h"

namespace py = pybind11;

namespace {

/// The Python class of a C++ one: "qvPel::BadSize" is qvstreet.qvPel.BadSize. A class that is not registered is the root.
py::object errorClass(const std::type_info& type) {
    const qv_Instantiator* exemplar = qv_Instantiator::find(type);
    std::string rest = exemplar == nullptr ? "qvException" : exemplar->typeName();
    py::object found = py::module_::import("qvstreet._errors");
    while (!rest.empty()) {
        const std::size_t colons = rest.find("::");
        found = found.attr(rest.substr(0, colons).c_str());
        rest = colons == std::string::npos ? "" : rest.substr(colons + 2);
    }
    return found;
}

void translate(std::exception_ptr thrown) {
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const qvException& error) {
        PyErr_SetString(errorClass(typeid(error)).ptr(), error.what());
    }
}

}  // namespace

void registerErrors() { py::register_exception_translator(translate); }

void throwError(const std::string& name) {
    const qv_Instantiator* exemplar = qv_Instantiator::find(name);
    std::unique_ptr<qvPersistent> object = exemplar == nullptr ? nullptr : exemplar->create();
    auto* error = dynamic_cast<qvException*>(object.get());
    if (error == nullptr) throw py::key_error(name);
    object.release();
    error->suicideAndRethrow();
}
