"""The library's errors, under the names that they have in C++.

The scopes (`qvPel`, `qvStreetFinderDefs`...) are never made; they hold the classes. A wrong image (type, shape, strides) is a
plain TypeError or ValueError, since it is refused before it becomes an image of the library.
"""

from __future__ import annotations


class qvException(Exception):
    """Root of all errors of the library."""

    error_number: int = 0
    """The number of the class, unique in the library; 0 for a class that is never raised itself."""


class qvExceptionWithString(qvException):
    """An error with a message, which `str` gives; the name of the class where the message is empty."""


class qvInvariantFailure(qvExceptionWithString):
    """A broken promise inside the library. The call has no result; please report it."""

    error_number = 0x10000001


class qvArchive:
    """Scope of the errors of archives. No function of this module raises them."""

    class Errors(qvExceptionWithString):
        """An archive that cannot be read or written."""

        error_number = 0x10000100

    class UnknownVersion(Errors):
        """An archive holds a class in a version that this library does not know."""

        error_number = 0x10000101


class qvPel:
    """Scope of the errors of images."""

    class Errors(qvExceptionWithString):
        """Base of the errors of images."""

    class UnboundWindow(Errors):
        """The image has no pels."""

        error_number = 0x10000201

    class BadSize(Errors, ValueError):
        """A width, height, row distance or sample count that no image can have."""

        error_number = 0x10000202

    class SizeMismatch(Errors, ValueError):
        """Images of one operation differ in size."""

        error_number = 0x10000203


class qvMatrixErr:
    """Scope of the errors of matrices and transforms."""

    class Errors(qvExceptionWithString):
        """Base of the errors of matrices."""

    class Singular(Errors):
        """The matrix has no inverse, for instance that of the client transform."""

        error_number = 0x10000301


class qvFiltErr:
    """Scope of the errors of the one-dimensional filters."""

    class Errors(qvException):
        """Base of the errors of filters."""

        error_number = 0x10000400

    class BadImageSize(Errors):
        """The source of a filter is not wider than its kernel."""

        error_number = 0x10000401

    class BadFilterSize(Errors):
        """A kernel of a size that cannot be applied."""

        error_number = 0x10000402


class qvPeak1dErr:
    """Scope of the errors of the peak search on a profile."""

    class Errors(qvExceptionWithString):
        """Base of the errors of the peak search."""

    class ImageTooSmall(Errors):
        """The profile has fewer than 3 values."""

        error_number = 0x10000501


class qvLSLineFitterErr:
    """Scope of the errors of the line fitter."""

    class Errors(qvExceptionWithString):
        """Base of the errors of the line fitter."""

    class UnstableErr(Errors):
        """Fewer than two distinct points: they determine no line."""

        error_number = 0x10000601


class qvStreetFinderDefs:
    """Scope of the errors of the street finder."""

    class Errors(qvExceptionWithString):
        """Base of the errors of the street finder."""

    class BadParams(Errors, ValueError):
        """A parameter that the street finder or its measurement refuses, or a client transform turned by more than 5
        degrees."""

        error_number = 0x10008301

    class UnboundImage(Errors):
        """A search before the first `set_image`."""

        error_number = 0x10008302


class qvStreetBlankRegionFinderDefs:
    """Scope of the errors of the blank region finder."""

    class Errors(qvExceptionWithString):
        """Base of the errors of the blank region finder."""

    class BadParams(Errors, ValueError):
        """A parameter or a mask that the blank region finder refuses."""

        error_number = 0x10008801
