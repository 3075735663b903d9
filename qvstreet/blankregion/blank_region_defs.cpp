#include "qvstreet/blankregion/blank_region_defs.h"

#include "qvstreet/platform/exception_pattern.h"

qvStreetBlankRegionFinderDefs::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvStreetBlankRegionFinderDefs::BadParams::BadParams(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvStreetBlankRegionFinderDefs::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvStreetBlankRegionFinderDefs::BadParams, qvStreetBlankRegionFinderDefs::Errors, 0x10008801)

qvArchive& operator||(qvArchive& archive, qvStreetBlankRegionFinderDefs::streetDirection& value) {
    return qf_archiveEnumeration(archive, value);
}
