/// @file
/// The library's exceptions as those of Python.
#ifndef QVSTREET_PYTHON_BINDINGS_ERRORS_H
#define QVSTREET_PYTHON_BINDINGS_ERRORS_H

#include <string>

/// From now on every exception of the library that leaves this module is raised as the Python class of the same name,
/// with the text of `what()`.
void registerErrors();

/// Throws the library's exception of that qualified name, for instance "qvPel::BadSize", without a message.
/// @throws pybind11::key_error for another name
void throwError(const std::string& name);

#endif
