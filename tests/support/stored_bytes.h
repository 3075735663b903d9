#ifndef QVSTREET_TESTS_SUPPORT_STORED_BYTES_H
#define QVSTREET_TESTS_SUPPORT_STORED_BYTES_H

#include <memory>
#include <sstream>
#include <string>

#include "qvstreet/platform/archive.h"

namespace qvtest {

/// What an archive writes for an object, without a type name.
template <class Class>
std::string storedBytes(const Class& object) {
    std::ostringstream stream;
    qvArchive archive(stream);
    archive << object;
    return stream.str();
}

/// Class name and version, "Name 0", of the `UnknownVersion` that loading `bytes` throws; empty if none.
template <class Class>
std::string unknownVersionOf(const std::string& bytes) {
    std::istringstream stream(bytes);
    qvArchive archive(stream);
    Class object;
    try {
        archive >> object;
    } catch (const qvArchive::UnknownVersion& error) {
        return error.className() + " " + std::to_string(error.version());
    }
    return "";
}

/// A copy that went through an archive by pointer, which keeps the type.
template <class Class>
std::unique_ptr<qvPersistent> throughArchive(const Class& object) {
    std::ostringstream out;
    qvArchive storing(out);
    storing << &object;
    std::istringstream in(out.str());
    qvArchive loading(in);
    qvPersistent* loaded = nullptr;
    loading >> loaded;
    return std::unique_ptr<qvPersistent>(loaded);
}

}  // namespace qvtest

#endif
