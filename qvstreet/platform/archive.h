/// @file
/// Archives: persistent objects, the archive over a standard stream with its exceptions, and enumerations.
#ifndef QVSTREET_PLATFORM_ARCHIVE_H
#define QVSTREET_PLATFORM_ARCHIVE_H

#include <cstdint>
#include <type_traits>

#include "qvstreet/platform/exceptions.h"
#include "qvstreet/platform/persistent.h"

/// Stores or loads an enumeration as a 32-bit integer: the body of every `operator||` for an enumeration. Any 32-bit
/// value is loaded, also one without a name.
template <class Enumeration>
qvArchive& qf_archiveEnumeration(qvArchive& archive, Enumeration& value) {
    static_assert(std::is_same_v<std::underlying_type_t<Enumeration>, std::int32_t>, "archived as 32 bits");
    auto number = static_cast<std::int32_t>(value);
    archive || number;
    value = static_cast<Enumeration>(number);
    return archive;
}

/// Whether a type is an enumeration of 32 bits.
template <class Type, bool isEnumeration = std::is_enum_v<Type>>
struct qv_IsArchivedEnumeration : std::false_type {};
template <class Type>
struct qv_IsArchivedEnumeration<Type, true> : std::is_same<std::underlying_type_t<Type>, std::int32_t> {};

/// Result of the operators below, which take part for enumerations only.
template <class Enumeration>
using qv_EnableForEnumeration = std::enable_if_t<qv_IsArchivedEnumeration<Enumeration>::value, qvArchive&>;

/// Stores an enumeration as a 32-bit integer.
template <class Enumeration>
qv_EnableForEnumeration<Enumeration> operator<<(qvArchive& archive, Enumeration value) {
    return archive << static_cast<std::int32_t>(value);
}

/// Loads an enumeration from a 32-bit integer; any value is taken, also one without a name.
template <class Enumeration>
qv_EnableForEnumeration<Enumeration> operator>>(qvArchive& archive, Enumeration& value) {
    std::int32_t number = 0;
    archive >> number;
    value = static_cast<Enumeration>(number);
    return archive;
}

/// Stores or loads an enumeration as a 32-bit integer.
template <class Enumeration>
qv_EnableForEnumeration<Enumeration> operator||(qvArchive& archive, Enumeration& value) {
    return qf_archiveEnumeration(archive, value);
}

#endif
