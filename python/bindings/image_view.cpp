#include "python/bindings/image_view.h"

#include <memory>
#include <string>

namespace py = pybind11;

namespace {

/// A held export of an object's memory.
class HeldBuffer {
 public:
    /// @throws pybind11::error_already_set
    explicit HeldBuffer(py::handle object) {
        // The plainest request that gives strides and format and takes read-only memory. Memory that is reached through
        // pointers (suboffsets) is refused by its exporter.
        if (PyObject_GetBuffer(object.ptr(), &view_, PyBUF_RECORDS_RO) != 0) throw py::error_already_set();
    }
    HeldBuffer(const HeldBuffer&) = delete;
    HeldBuffer& operator=(const HeldBuffer&) = delete;

    ~HeldBuffer() {
        if (PyGILState_Check()) {
            PyBuffer_Release(&view_);
        } else if (!_Py_IsFinalizing()) {
            const PyGILState_STATE state = PyGILState_Ensure();
            PyBuffer_Release(&view_);
            PyGILState_Release(state);
        }
        // An interpreter on its way out gives its lock to nobody; its memory goes with the process.
    }

    const Py_buffer& view() const { return view_; }

 private:
    Py_buffer view_{};
};

/// (2048, 2) for the first `count` of the sizes or strides.
std::string tupleText(const Py_ssize_t* numbers, int count) {
    std::string text = "(";
    for (int i = 0; i < count; ++i) text += (i == 0 ? "" : ", ") + std::to_string(numbers[i]);
    return text + (count == 1 ? ",)" : ")");
}

std::string typeName(py::handle object) { return Py_TYPE(object.ptr())->tp_name; }

/// The element type as its maker would write it: "dtype float64" for arrays, which know, "format 'd'" for others.
std::string elementText(py::handle object, const char* format) {
    if (py::hasattr(object, "dtype")) return "dtype " + py::str(object.attr("dtype")).cast<std::string>();
    return std::string("format '") + format + "'";
}

bool isUnsignedByte(const Py_buffer& view) {
    const std::string format = view.format == nullptr ? "B" : view.format;
    return view.itemsize == 1 &&
           (format == "B" || format == "=B" || format == "<B" || format == ">B" || format == "@B");
}

std::shared_ptr<const HeldBuffer> held(py::handle image, const std::string& name) {
    if (PyObject_CheckBuffer(image.ptr()) == 0) {
        throw py::type_error(name + " is " + typeName(image) +
                             "; expected uint8 pels with the buffer protocol, for instance a numpy array");
    }
    try {
        return std::make_shared<const HeldBuffer>(image);
    } catch (py::error_already_set& error) {
        // Some element types have no buffer; the reason stays in sight.
        const std::string message = name + " is " + typeName(image) +
                                    " and does not show its memory: " + py::str(error.value()).cast<std::string>() +
                                    "; expected uint8 pels";
        error.restore();
        PyErr_Clear();
        throw py::type_error(message);
    }
}

}  // namespace

qvPelBuffer_const<unsigned char> imageView(py::handle image, const char* name) {
    const std::string what = name;
    const std::shared_ptr<const HeldBuffer> owner = held(image, what);
    const Py_buffer& view = owner->view();
    if (!isUnsignedByte(view)) {
        throw py::type_error(what + " has " + elementText(image, view.format == nullptr ? "B" : view.format) +
                             "; expected uint8");
    }
    if (view.ndim != 2) {
        throw py::value_error(what + " has shape " + tupleText(view.shape, view.ndim) + "; expected (height, width)");
    }
    const Py_ssize_t height = view.shape[0];
    const Py_ssize_t width = view.shape[1];
    if (height == 0 || width == 0) {
        throw py::value_error(what + " has shape " + tupleText(view.shape, 2) + "; expected at least one pel");
    }
    const std::string strides = what + " has strides " + tupleText(view.strides, 2);
    // The stride of a direction with a single pel says nothing.
    if (width > 1 && view.strides[1] != 1) {
        throw py::value_error(strides + "; pels of a row have to be adjacent (stride 1): use numpy.ascontiguousarray");
    }
    const Py_ssize_t rowStride = height > 1 ? view.strides[0] : width;
    if (rowStride < width && rowStride > -width) {
        throw py::value_error(strides + "; rows must not overlap (stride of at least the width, " +
                              std::to_string(width) + "): use numpy.ascontiguousarray");
    }
    return qvPelBuffer_const<unsigned char>(static_cast<const unsigned char*>(view.buf), width, height, rowStride,
                                            owner);
}
