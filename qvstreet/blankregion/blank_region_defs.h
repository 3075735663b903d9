/// @file
/// Enumeration and errors that the public classes of the blank region finder share.
#ifndef QVSTREET_BLANKREGION_BLANK_REGION_DEFS_H
#define QVSTREET_BLANKREGION_BLANK_REGION_DEFS_H

#include <cstdint>
#include <string>

#include "qvstreet/platform/archive.h"
#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/export.h"

/// Scope of the blank region finder's enumeration and errors.
class QV_EXPORT qvStreetBlankRegionFinderDefs {
 public:
    /// Direction of the street in the image.
    enum streetDirection : std::int32_t {
        /// The street runs along the rows of the image.
        eHorizontal = 0,
        /// The street runs along the columns of the image; the search works on the transposed image.
        eVertical = 1
    };

    class Errors;
    class BadParams;
};

/// Common base of the blank region finder's errors.
class QV_EXPORT qvStreetBlankRegionFinderDefs::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// An invalid argument or parameter. Error number 268470273.
class QV_EXPORT qvStreetBlankRegionFinderDefs::BadParams : public qvStreetBlankRegionFinderDefs::Errors {
    QV_EXCEPTION_CLASS(BadParams)
 public:
    /// With an empty message `what()` answers the class name.
    explicit BadParams(const std::wstring& message = std::wstring());
};

/// Stores or loads the value as a 32-bit integer. Any 32-bit value is loaded, also one without a name.
QV_EXPORT qvArchive& operator||(qvArchive& archive, qvStreetBlankRegionFinderDefs::streetDirection& value);

#endif
