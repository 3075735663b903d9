#include "qvstreet/platform/persistent.h"

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <istream>
#include <limits>
#include <ostream>

#include "qvstreet/platform/exceptions.h"

namespace {

/// What an object record begins with when it is stored by pointer.
enum RecordKind : std::int32_t { recordOfNull = 0, recordOfObject = 1, recordOfReference = 2 };

/// Code units that are read before the next lot is asked for: the most memory that a false length can cost.
constexpr std::size_t unitsPerLot = 1024;

/// Objects within objects. Deeper records are the work of a foreign archive that would exhaust the stack.
constexpr int maxDepth = 256;

/// Bytes of an archived integer.
constexpr std::size_t integerBytes = 4;

thread_local qvArchive* archiveAtWork = nullptr;

/// Names the archive at work for as long as an object goes through it; archives may nest.
class AtWork {
 public:
    explicit AtWork(qvArchive* archive) : outer_(archiveAtWork) { archiveAtWork = archive; }
    ~AtWork() { archiveAtWork = outer_; }
    AtWork(const AtWork&) = delete;
    AtWork& operator=(const AtWork&) = delete;

 private:
    qvArchive* outer_;
};

/// Counts a nesting level, also when an exception ends it.
class Nesting {
 public:
    explicit Nesting(int& depth) : depth_(depth) {
        if (depth_ >= maxDepth) throw qvArchive::Errors(L"The archive nests its objects too deeply.");
        ++depth_;
    }
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

 private:
    int& depth_;
};

/// First of the registered exemplars. A plain pointer needs no construction, so exemplars of any source file may
/// register before and unregister after everything else.
qv_Instantiator*& firstExemplar() {
    static qv_Instantiator* first = nullptr;
    return first;
}

/// The qualified name of a type as it is written in code.
std::string qualifiedName(const std::type_info& type) {
#if __has_include(<cxxabi.h>)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                      std::free);
    if (status == 0 && name) return name.get();
#endif
    return type.name();
}

void putInteger(std::uint32_t value, unsigned char* bytes) {
    for (std::size_t i = 0; i < integerBytes; ++i) bytes[i] = static_cast<unsigned char>((value >> (8 * i)) & 0xFFU);
}

std::uint32_t getInteger(const unsigned char* bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < integerBytes; ++i) value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    return value;
}

/// The character of a code unit; false if the character type cannot hold it.
bool characterOf(std::uint32_t unit, wchar_t& character) {
    character = static_cast<wchar_t>(unit);
    return static_cast<std::uint32_t>(character) == unit;
}

bool characterOf(std::uint32_t unit, char& character) {
    character = static_cast<char>(static_cast<unsigned char>(unit & 0xFFU));
    return unit <= 0xFFU;
}

bool characterOf(std::uint32_t unit, char32_t& character) {
    character = unit;
    return unit <= 0x10FFFFU;
}

std::uint32_t unitOf(wchar_t character) { return static_cast<std::uint32_t>(character); }

std::uint32_t unitOf(char character) { return static_cast<unsigned char>(character); }

std::uint32_t unitOf(char32_t character) { return character; }

constexpr bool hasWideUtf16 = sizeof(wchar_t) == 2;

/// UTF-16, as wide text is on Windows, as whole characters; a surrogate alone stays one.
std::u32string charactersOf(const std::wstring& text) {
    std::u32string characters;
    for (const wchar_t character : text) {
        const std::uint32_t unit = unitOf(character);
        const std::uint32_t before = characters.empty() ? 0 : unitOf(characters.back());
        if (unit >= 0xDC00U && unit <= 0xDFFFU && before >= 0xD800U && before <= 0xDBFFU) {
            characters.back() = 0x10000U + ((before - 0xD800U) << 10) + (unit - 0xDC00U);
        } else {
            characters.push_back(unit);
        }
    }
    return characters;
}

/// The same back again.
std::wstring utf16Of(const std::u32string& characters) {
    std::wstring text;
    for (const char32_t character : characters) {
        std::uint32_t unit = unitOf(character);
        if (unit > 0xFFFFU) {
            unit -= 0x10000U;
            text.push_back(static_cast<wchar_t>(0xD800U + (unit >> 10)));
            unit = 0xDC00U + (unit & 0x3FFU);
        }
        text.push_back(static_cast<wchar_t>(unit));
    }
    return text;
}

std::wstring wideName(const std::string& name) {
    std::wstring wide;
    for (const char character : name) wide.push_back(static_cast<wchar_t>(unitOf(character)));
    return wide;
}

}  // namespace

qvPersistent::~qvPersistent() = default;

void qvPersistent::dispatchSerialize(qvArchive&) {}

void qvPersistent::reInit() {}

void qvPersistent::loadSimple(qvArchive& archive) {
    if (archive.isMarked(this)) return;
    reInit();
    try {
        dispatchSerialize(archive);
    } catch (...) {
        archive.forgetMarks(this);
        reInit();
        throw;
    }
}

bool qvPersistent::haveVisited(const qvArchive& archive, const qvPersistent* object, long key) {
    return archive.marks_.count({object, key}) != 0;
}

void qvPersistent::setVisited(qvArchive& archive, const qvPersistent* object, long key) {
    archive.marks_.insert({object, key});
}

bool qvPersistent::haveVisited(const qvPersistent* object, long key) {
    return archiveAtWork && haveVisited(*archiveAtWork, object, key);
}

void qvPersistent::setVisited(const qvPersistent* object, long key) {
    if (archiveAtWork) setVisited(*archiveAtWork, object, key);
}

qv_Instantiator::qv_Instantiator(const std::type_info& type, Factory make)
    : typeName_(qualifiedName(type)), make_(make), next_(firstExemplar()) {
    firstExemplar() = this;
}

qv_Instantiator::~qv_Instantiator() {
    qv_Instantiator** link = &firstExemplar();
    while (*link && *link != this) link = &(*link)->next_;
    if (*link) *link = next_;
}

std::unique_ptr<qvPersistent> qv_Instantiator::create() const { return std::unique_ptr<qvPersistent>(make_()); }

const qv_Instantiator* qv_Instantiator::find(const std::string& typeName) {
    const qv_Instantiator* exemplar = firstExemplar();
    while (exemplar && exemplar->typeName_ != typeName) exemplar = exemplar->next_;
    return exemplar;
}

const qv_Instantiator* qv_Instantiator::find(const std::type_info& type) { return find(qualifiedName(type)); }

qvArchive::qvArchive(std::ostream& destination) : destination_(&destination) {}

qvArchive::qvArchive(std::istream& source) : source_(&source) {}

qvArchive::~qvArchive() = default;

// The stream's buffer is used directly: it reports a short count, where the stream itself may be set up to throw errors
// of its own.
void qvArchive::writeBytes(const unsigned char* bytes, std::size_t count) {
    if (!destination_) throw Errors(L"The archive is open for loading only.");
    const auto wanted = static_cast<std::streamsize>(count);
    if (!destination_->good() || !destination_->rdbuf() ||
        destination_->rdbuf()->sputn(reinterpret_cast<const char*>(bytes), wanted) != wanted) {
        throw Errors(L"The archive cannot be written.");
    }
}

void qvArchive::readBytes(unsigned char* bytes, std::size_t count) {
    if (!source_) throw Errors(L"The archive is open for storing only.");
    const auto wanted = static_cast<std::streamsize>(count);
    if (!source_->good() || !source_->rdbuf() ||
        source_->rdbuf()->sgetn(reinterpret_cast<char*>(bytes), wanted) != wanted) {
        throw Errors(L"The archive ends too early.");
    }
}

template <class String>
void qvArchive::writeString(const String& value) {
    if (value.size() > std::numeric_limits<std::uint32_t>::max())
        throw Errors(L"The string is too long to be archived.");
    *this << static_cast<std::uint32_t>(value.size());
    for (const auto character : value) *this << unitOf(character);
}

template <class String>
void qvArchive::readString(String& value) {
    std::uint32_t length = 0;
    *this >> length;
    String text;
    std::vector<unsigned char> lot;
    for (std::size_t missing = length; missing > 0;) {
        const std::size_t units = std::min(missing, unitsPerLot);
        lot.resize(units * integerBytes);
        readBytes(lot.data(), lot.size());
        for (std::size_t i = 0; i < units; ++i) {
            typename String::value_type character{};
            if (!characterOf(getInteger(lot.data() + i * integerBytes), character)) {
                throw Errors(L"The archive holds a character that cannot be.");
            }
            text.push_back(character);
        }
        missing -= units;
    }
    value = std::move(text);
}

qvArchive& qvArchive::operator<<(unsigned char value) {
    writeBytes(&value, 1);
    return *this;
}

qvArchive& qvArchive::operator<<(std::int32_t value) { return *this << static_cast<std::uint32_t>(value); }

qvArchive& qvArchive::operator<<(std::uint32_t value) {
    unsigned char bytes[integerBytes];
    putInteger(value, bytes);
    writeBytes(bytes, integerBytes);
    return *this;
}

// One unit for each character, so that archives mean the same everywhere.
qvArchive& qvArchive::operator<<(const std::wstring& value) {
    if (hasWideUtf16) {
        writeString(charactersOf(value));
    } else {
        writeString(value);
    }
    return *this;
}

qvArchive& qvArchive::operator<<(const std::string& value) {
    writeString(value);
    return *this;
}

qvArchive& qvArchive::operator>>(unsigned char& value) {
    readBytes(&value, 1);
    return *this;
}

qvArchive& qvArchive::operator>>(std::int32_t& value) {
    std::uint32_t bits = 0;
    *this >> bits;
    value = static_cast<std::int32_t>(bits);
    return *this;
}

qvArchive& qvArchive::operator>>(std::uint32_t& value) {
    unsigned char bytes[integerBytes] = {};
    readBytes(bytes, integerBytes);
    value = getInteger(bytes);
    return *this;
}

qvArchive& qvArchive::operator>>(std::wstring& value) {
    if (hasWideUtf16) {
        std::u32string characters;
        readString(characters);
        value = utf16Of(characters);
    } else {
        readString(value);
    }
    return *this;
}

qvArchive& qvArchive::operator>>(std::string& value) {
    readString(value);
    return *this;
}

qvArchive& qvArchive::operator||(unsigned char& value) { return isStoring() ? *this << value : *this >> value; }

qvArchive& qvArchive::operator||(std::int32_t& value) { return isStoring() ? *this << value : *this >> value; }

qvArchive& qvArchive::operator||(std::uint32_t& value) { return isStoring() ? *this << value : *this >> value; }

qvArchive& qvArchive::operator||(std::wstring& value) { return isStoring() ? *this << value : *this >> value; }

qvArchive& qvArchive::operator||(std::string& value) { return isStoring() ? *this << value : *this >> value; }

bool qvArchive::isMarked(const qvPersistent* object) const {
    const auto mark = marks_.lower_bound({object, std::numeric_limits<long>::min()});
    return mark != marks_.end() && mark->first == object;
}

void qvArchive::forgetMarks(const qvPersistent* object) {
    marks_.erase(marks_.lower_bound({object, std::numeric_limits<long>::min()}),
                 marks_.upper_bound({object, std::numeric_limits<long>::max()}));
}

// One operation serves storing and loading, so it takes the object as changeable; storing changes nothing.
void qvArchive::storeInPlace(const qvPersistent& object) {
    if (!destination_) throw Errors(L"The archive is open for loading only.");
    const AtWork atWork(this);
    const_cast<qvPersistent&>(object).dispatchSerialize(*this);
}

void qvArchive::loadInPlace(qvPersistent& object) {
    if (!source_) throw Errors(L"The archive is open for storing only.");
    const AtWork atWork(this);
    object.loadSimple(*this);
}

void qvArchive::storeByType(const qvPersistent* object) {
    if (!object) {
        *this << static_cast<unsigned char>(recordOfNull);
        return;
    }
    const auto stored = storedOrdinals_.find(object);
    if (stored != storedOrdinals_.end()) {
        *this << static_cast<unsigned char>(recordOfReference) << stored->second;
        return;
    }
    const qv_Instantiator* exemplar = qv_Instantiator::find(typeid(*object));
    if (!exemplar) {
        throw Errors(L"The class " + wideName(qualifiedName(typeid(*object))) + L" is not registered for archives.");
    }
    *this << static_cast<unsigned char>(recordOfObject) << exemplar->typeName();
    storedOrdinals_.emplace(object, static_cast<std::uint32_t>(storedOrdinals_.size()));
    // Stored by reference before, the object has marks; a record that is to be recreated needs its whole body though.
    forgetMarks(object);
    storeInPlace(*object);
}

unsigned char qvArchive::readRecordKind() {
    unsigned char kind = recordOfNull;
    *this >> kind;
    if (kind > recordOfReference) throw Errors(L"The archive holds no object at this place.");
    return kind;
}

std::unique_ptr<qvPersistent> qvArchive::createByName() {
    std::string typeName;
    *this >> typeName;
    const qv_Instantiator* exemplar = qv_Instantiator::find(typeName);
    if (!exemplar) throw Errors(L"The archive holds an object of the unknown class " + wideName(typeName) + L".");
    auto object = exemplar->create();
    // The memory may have belonged to an object that this archive loaded and the caller has deleted since.
    forgetMarks(object.get());
    return object;
}

std::unique_ptr<qvPersistent> qvArchive::loadOwned() {
    const Nesting nesting(depth_);
    const unsigned char kind = readRecordKind();
    if (kind == recordOfNull) return nullptr;
    if (kind == recordOfReference) throw Errors(L"The archive shares an object that a plain pointer cannot share.");
    auto object = createByName();
    loaded_.emplace_back();
    loadInPlace(*object);
    return object;
}

std::shared_ptr<qvPersistent> qvArchive::loadShared() {
    const Nesting nesting(depth_);
    const unsigned char kind = readRecordKind();
    if (kind == recordOfNull) return nullptr;
    if (kind == recordOfReference) {
        std::uint32_t ordinal = 0;
        *this >> ordinal;
        if (ordinal >= loaded_.size() || !loaded_[ordinal])
            throw Errors(L"The archive refers to an object it does not hold.");
        return loaded_[ordinal];
    }
    std::shared_ptr<qvPersistent> object = createByName();
    loaded_.push_back(object);
    loadInPlace(*object);
    return object;
}

qvArchive& qvArchive::operator||(qvPersistent& object) { return isStoring() ? *this << object : *this >> object; }

qvArchive& qvArchive::operator||(qvPersistent*& object) {
    return isStoring() ? *this << static_cast<const qvPersistent*>(object) : *this >> object;
}

qvArchive& qvArchive::operator||(std::shared_ptr<qvPersistent>& object) {
    if (isStoring()) {
        storeByType(object.get());
    } else {
        object = loadShared();
    }
    return *this;
}

qvArchive& qvArchive::operator<<(const qvPersistent& object) {
    storeInPlace(object);
    return *this;
}

qvArchive& qvArchive::operator<<(const qvPersistent* object) {
    storeByType(object);
    return *this;
}

qvArchive& qvArchive::operator>>(qvPersistent& object) {
    loadInPlace(object);
    return *this;
}

qvArchive& qvArchive::operator>>(qvPersistent*& object) {
    object = loadOwned().release();
    return *this;
}
