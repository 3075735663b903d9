/// @file
/// Enumerations and errors that the public classes of the street finder share.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_DEFS_H
#define QVSTREET_STREETFINDER_STREET_FINDER_DEFS_H

#include <cstdint>
#include <string>

#include "qvstreet/platform/archive.h"
#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/export.h"

/// Scope of the street finder's enumerations and errors.
class QV_EXPORT qvStreetFinderDefs {
 public:
    /// How the streets of the wafer look in the image.
    enum waferType : std::int32_t {
        /// A street shows as a pair of parallel edge lines. The default.
        eEdgePairWafer = 0,
        /// A street shows as one line about as wide as the street; each crossing is refined on the image.
        eRidgeWafer = 1,
        /// As `eRidgeWafer`, with constants for coarse work and without the refinement.
        eCoarseRidgeWafer = 2,
        /// Reserved; no operation accepts it.
        eSpecial = 3
    };

    /// Grey-level relation of a street to the surface at its two sides.
    enum streetPolarity : std::int32_t {
        /// Any relation passes. The default.
        eAnyPolarity = 0,
        /// The street's mean grey level lies below both side means.
        eDarkOnLight = 1,
        /// The street's mean grey level lies above both side means.
        eLightOnDark = 2
    };

    /// How a result was built, and so which of its fields carry information.
    enum resultType : std::int32_t {
        /// From the two edges of each street: a crossing has four distinct corners and up to eight line segments, a
        /// single street two segments. The value of a default-constructed result.
        eStreetFromEdges = 0,
        /// From one line per street: all four corners of a crossing are the crossing point and it has two line
        /// segments; a single street has one segment.
        eStreetFromLine = 1
    };

    class Errors;
    class BadParams;
    class UnboundImage;
};

/// Common base of the street finder's errors.
class QV_EXPORT qvStreetFinderDefs::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// An invalid argument or parameter. Error number 268468993.
class QV_EXPORT qvStreetFinderDefs::BadParams : public qvStreetFinderDefs::Errors {
    QV_EXCEPTION_CLASS(BadParams)
 public:
    /// With an empty message `what()` answers the class name.
    explicit BadParams(const std::wstring& message = std::wstring());
};

/// An image without pels, or a call that needs `setImage` first. Error number 268468994.
class QV_EXPORT qvStreetFinderDefs::UnboundImage : public qvStreetFinderDefs::Errors {
    QV_EXCEPTION_CLASS(UnboundImage)
 public:
    /// With an empty message `what()` answers the class name.
    explicit UnboundImage(const std::wstring& message = std::wstring());
};

/// Stores or loads the value as a 32-bit integer. Any 32-bit value is loaded, also one without a name.
QV_EXPORT qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::waferType& value);
QV_EXPORT qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::streetPolarity& value);
QV_EXPORT qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::resultType& value);

#endif
