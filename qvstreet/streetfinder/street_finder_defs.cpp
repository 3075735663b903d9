#include "qvstreet/streetfinder/street_finder_defs.h"

#include "qvstreet/platform/exception_pattern.h"

qvStreetFinderDefs::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvStreetFinderDefs::BadParams::BadParams(const std::wstring& message) : Errors(message) {}
qvStreetFinderDefs::UnboundImage::UnboundImage(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvStreetFinderDefs::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvStreetFinderDefs::BadParams, qvStreetFinderDefs::Errors, 0x10008301)
QV_DEFINE_EXCEPTION_CLASS(qvStreetFinderDefs::UnboundImage, qvStreetFinderDefs::Errors, 0x10008302)

qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::waferType& value) {
    return qf_archiveEnumeration(archive, value);
}

qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::streetPolarity& value) {
    return qf_archiveEnumeration(archive, value);
}

qvArchive& operator||(qvArchive& archive, qvStreetFinderDefs::resultType& value) {
    return qf_archiveEnumeration(archive, value);
}
