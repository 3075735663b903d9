/// @file
/// The bodies that all exception classes share. For source files only.
///
/// A class declared with `QV_EXCEPTION_LEVEL` or `QV_EXCEPTION_CLASS` gets its bodies here, each with one line. The
/// name given to the macro is the class's archive name, the one in `UnknownVersion` and in archives.
#ifndef QVSTREET_PLATFORM_EXCEPTION_PATTERN_H
#define QVSTREET_PLATFORM_EXCEPTION_PATTERN_H

#include "qvstreet/platform/archive.h"

/// The mark that all exception levels use. One for all is enough, since each level sets it after its base did.
constexpr long qv_exceptionMark = 64;

/// The only version of any class level.
constexpr int qv_onlyVersion = 0;

/// Refuses a class record of any other version.
inline void qf_requireOnlyVersion(const char* className, unsigned char version) {
    if (version != qv_onlyVersion) throw qvArchive::UnknownVersion(className, qv_onlyVersion);
}

/// Body of `dispatchSerialize`: the guard, the version byte and the class's own `serialize_`.
#define QV_DEFINE_DISPATCH(Class)                                 \
    void Class::dispatchSerialize(qvArchive& archive) {           \
        if (haveVisited(archive, this, qv_exceptionMark)) return; \
        unsigned char version = qv_onlyVersion;                   \
        archive || version;                                       \
        serialize_(archive, version);                             \
        setVisited(archive, this, qv_exceptionMark);              \
    }

/// Body of `serialize_` for a class without fields.
#define QV_DEFINE_SERIALIZE(Class, Base)                                \
    void Class::serialize_(qvArchive& archive, unsigned char version) { \
        qf_requireOnlyVersion(#Class, version);                         \
        Base::dispatchSerialize(archive);                               \
    }

/// What `what()` says in a class of that name.
#define QV_DEFINE_WHAT(Class) \
    const char* Class::what() const noexcept { return whatOr_(#Class); }

/// What a class that is thrown has on top. The copy and the deletion come before the throw, so that the heap object is
/// gone when a handler runs.
#define QV_DEFINE_THROWN(Class, number)                 \
    long Class::errorNumber() const { return number; }  \
    void Class::suicideAndRethrow() {                   \
        const Class local(*this);                       \
        delete this;                                    \
        throw Class(local);                             \
    }                                                   \
    qvPersistent* Class::make() { return new Class(); } \
    qv_Instantiator Class::sExemplar(typeid(Class), &Class::make);

/// All bodies of an abstract level without fields.
#define QV_DEFINE_EXCEPTION_LEVEL(Class, Base) \
    QV_DEFINE_DISPATCH(Class)                  \
    QV_DEFINE_SERIALIZE(Class, Base)           \
    QV_DEFINE_WHAT(Class)

/// All bodies of a thrown class without fields.
#define QV_DEFINE_EXCEPTION_CLASS(Class, Base, number) \
    QV_DEFINE_EXCEPTION_LEVEL(Class, Base)             \
    QV_DEFINE_THROWN(Class, number)

#endif
