/// @file
/// Objects that can go through an archive, and the archive itself.
///
/// This header stands below the exceptions, because an exception is itself a persistent object. Include
/// `qvstreet/platform/archive.h` to use archives: it adds the archive's exception classes and the enumerations.
#ifndef QVSTREET_PLATFORM_PERSISTENT_H
#define QVSTREET_PLATFORM_PERSISTENT_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "qvstreet/platform/export.h"

class qvArchive;

/// Base of every object that can be stored in a `qvArchive` and recreated from it.
///
/// A persistent class writes itself level by level: its own version byte and fields first, then those of its base. Each
/// level stands in `dispatchSerialize`, which asks `haveVisited` first and calls `setVisited` last, so that an object
/// that is reached twice in one archive is written (or read) once.
class QV_EXPORT qvPersistent {
 public:
    qvPersistent() = default;
    qvPersistent(const qvPersistent&) = default;
    qvPersistent& operator=(const qvPersistent&) = default;
    virtual ~qvPersistent();

 protected:
    /// Stores or loads this class level and those below it. The root holds nothing.
    virtual void dispatchSerialize(qvArchive& archive);

    /// Brings the object back to the state that its factory gives. Called before an object is loaded, and again when
    /// the load fails, so that a failed load never leaves half an object.
    virtual void reInit();

    /// Loads the object in place, without a type name: `reInit`, then `dispatchSerialize`. Does nothing if this archive
    /// has loaded the object before. An exception of the load passes through after another `reInit`.
    virtual void loadSimple(qvArchive& archive);

    /// Whether the object's level `key` went through `archive` before. Marks belong to one archive object and go by the
    /// object's address: an object must outlive the archive that it is stored with.
    /// @param key  any number; levels of one class chain may share it, since each sets its mark after its base did.
    ///             Bases that stand side by side need different ones.
    static bool haveVisited(const qvArchive& archive, const qvPersistent* object, long key);

    /// Marks the object's level `key` as gone through `archive`.
    static void setVisited(qvArchive& archive, const qvPersistent* object, long key);

    /// As above, for the archive that is at work in this thread. Where none is, nothing has been visited.
    static bool haveVisited(const qvPersistent* object, long key);

    /// As above, for the archive that is at work in this thread. Where none is, nothing is marked.
    static void setVisited(const qvPersistent* object, long key);

 private:
    friend class qvArchive;
};

/// Registers a persistent class, so that an archive can recreate its objects by type name.
///
/// Each class has one static exemplar. Exemplars register while the library is loaded; looking up needs no lock after.
class QV_EXPORT qv_Instantiator {
 public:
    /// Creates an object on the heap, which the caller owns.
    using Factory = qvPersistent* (*)();

    /// @param type  run-time type of the objects that `make` creates; its qualified name is the registered name.
    /// @param make  creates an object on the heap, in its default state; the caller owns it.
    qv_Instantiator(const std::type_info& type, Factory make);
    ~qv_Instantiator();
    qv_Instantiator(const qv_Instantiator&) = delete;
    qv_Instantiator& operator=(const qv_Instantiator&) = delete;

    /// The registered name, for instance "qvPel::BadSize".
    const std::string& typeName() const { return typeName_; }

    /// A new object in its default state.
    std::unique_ptr<qvPersistent> create() const;

    /// The exemplar of that name, or null.
    static const qv_Instantiator* find(const std::string& typeName);

    /// The exemplar of that run-time type, or null. A derived class that has no exemplar of its own is not found.
    static const qv_Instantiator* find(const std::type_info& type);

 private:
    std::string typeName_;
    Factory make_;
    qv_Instantiator* next_;
};

/// A stream of persistent objects, over a standard stream that the caller keeps open.
///
/// Everything is little endian: integers have 32 bits, a string is a 32-bit length and that many UTF-32 code units.
/// What cannot be read, because the archive is truncated or is none, throws `qvArchive::Errors`; so does using an
/// archive against its direction. No length is believed before the stream has delivered that much.
///
/// `archive || value` stores or loads, whichever way the archive goes. An object given by reference is written without
/// a type name; given by pointer it carries one, and loading recreates it by type.
class QV_EXPORT qvArchive {
 public:
    class Errors;
    class UnknownVersion;

    /// An archive that stores. Bytes reach the stream's buffer at once; flushing it is the caller's business. (A stream
    /// of both directions is named by a cast to the wanted one.)
    explicit qvArchive(std::ostream& destination);

    /// An archive that loads.
    explicit qvArchive(std::istream& source);

    ~qvArchive();
    qvArchive(const qvArchive&) = delete;
    qvArchive& operator=(const qvArchive&) = delete;

    /// Which way the archive goes; always one of the two.
    bool isStoring() const { return destination_ != nullptr; }
    bool isLoading() const { return source_ != nullptr; }

    /// Stores the value, or loads it in place.
    /// @throws qvArchive::Errors where the stream takes no more, ends too early, or holds what cannot be
    qvArchive& operator||(unsigned char& value);
    qvArchive& operator||(std::int32_t& value);
    qvArchive& operator||(std::uint32_t& value);
    qvArchive& operator||(std::wstring& value);
    /// A narrow string, one code unit for each of its bytes; a code unit above 255 is a foreign archive.
    qvArchive& operator||(std::string& value);

    /// Stores or loads the object in place. A second time in the same archive it writes (or reads) nothing.
    qvArchive& operator||(qvPersistent& object);

    /// Stores the object with its type name, or loads a new one that the caller owns. Null is kept. An object that the
    /// archive holds already is stored as a reference to it; since two owners of one object would be an error, loading
    /// such a reference through a plain pointer throws `qvArchive::Errors`.
    qvArchive& operator||(qvPersistent*& object);

    /// The same with shared ownership: objects that were one object when stored are one object again. The archive keeps
    /// what it has loaded alive as long as itself.
    qvArchive& operator||(std::shared_ptr<qvPersistent>& object);

    /// Stores, whichever way the value would go through `||`.
    /// @throws qvArchive::Errors also for an archive that loads
    qvArchive& operator<<(unsigned char value);
    qvArchive& operator<<(std::int32_t value);
    qvArchive& operator<<(std::uint32_t value);
    qvArchive& operator<<(const std::wstring& value);
    qvArchive& operator<<(const std::string& value);
    qvArchive& operator<<(const qvPersistent& object);
    qvArchive& operator<<(const qvPersistent* object);

    /// Loads, whichever way the value would go through `||`.
    /// @throws qvArchive::Errors also for an archive that stores
    qvArchive& operator>>(unsigned char& value);
    qvArchive& operator>>(std::int32_t& value);
    qvArchive& operator>>(std::uint32_t& value);
    qvArchive& operator>>(std::wstring& value);
    qvArchive& operator>>(std::string& value);
    qvArchive& operator>>(qvPersistent& object);
    qvArchive& operator>>(qvPersistent*& object);

 private:
    friend class qvPersistent;

    void writeBytes(const unsigned char* bytes, std::size_t count);
    void readBytes(unsigned char* bytes, std::size_t count);
    template <class String>
    void writeString(const String& value);
    template <class String>
    void readString(String& value);

    void storeInPlace(const qvPersistent& object);
    void loadInPlace(qvPersistent& object);
    void storeByType(const qvPersistent* object);
    std::shared_ptr<qvPersistent> loadShared();
    std::unique_ptr<qvPersistent> loadOwned();
    unsigned char readRecordKind();
    std::unique_ptr<qvPersistent> createByName();

    bool isMarked(const qvPersistent* object) const;
    void forgetMarks(const qvPersistent* object);

    std::ostream* destination_ = nullptr;
    std::istream* source_ = nullptr;
    int depth_ = 0;
    std::set<std::pair<const qvPersistent*, long>> marks_;
    std::map<const qvPersistent*, std::uint32_t> storedOrdinals_;
    std::vector<std::shared_ptr<qvPersistent>> loaded_;
};

#endif
