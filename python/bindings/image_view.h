/// @file
/// Images of Python as images of the library, without a copy.
#ifndef QVSTREET_PYTHON_BINDINGS_IMAGE_VIEW_H
#define QVSTREET_PYTHON_BINDINGS_IMAGE_VIEW_H

#include <pybind11/pybind11.h>

#include "qvstreet/platform/pel_buffer.h"

/// The pels of an object with the buffer protocol: (height, width) unsigned bytes, the pels of a row adjacent, rows in
/// either direction and padded by any amount. The buffer keeps the object's memory exported until its last copy goes,
/// which may happen in any thread and without the interpreter lock. To be called with that lock.
/// @param name  what the caller calls the image, for messages
/// @throws pybind11::type_error for what is not unsigned bytes, pybind11::value_error for another shape, no pels, or
///         strides that cannot be taken; each message names what was wrong with its value. qvPel::BadSize for sizes and
///         strides beyond 32 bits
qvPelBuffer_const<unsigned char> imageView(pybind11::handle image, const char* name);

#endif
