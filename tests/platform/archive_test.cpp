#include "qvstreet/platform/archive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

/// Wide, because every length and unit below must survive: a Latin, a Greek, a CJK and an astral character.
const std::wstring foreignText = L"\u00e9\u03a9\u8857\U0001F6E3";

template <class Store>
std::string storedBytes(Store&& store) {
    std::ostringstream stream;
    qvArchive archive(stream);
    store(archive);
    return stream.str();
}

template <class Load>
void loadFrom(const std::string& bytes, Load&& load) {
    std::istringstream stream(bytes);
    qvArchive archive(stream);
    load(archive);
}

std::string bytesOf(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) bytes.push_back(static_cast<char>(value));
    return bytes;
}

/// A source of given bytes that remembers the largest amount anybody asked for at once.
class WatchedSource : public std::stringbuf {
 public:
    explicit WatchedSource(const std::string& bytes) : std::stringbuf(bytes, std::ios_base::in) {}
    std::streamsize largestRequest = 0;

 protected:
    std::streamsize xsgetn(char* target, std::streamsize count) override {
        largestRequest = std::max(largestRequest, count);
        return std::stringbuf::xsgetn(target, count);
    }
};

/// A persistent class with one field and, if the archive says so, another object inside.
class Node : public qvPersistent {
 public:
    std::int32_t value = 0;
    std::shared_ptr<qvPersistent> inner;

 protected:
    void dispatchSerialize(qvArchive& archive) override {
        if (haveVisited(archive, this, 1)) return;
        archive || value;
        archive || inner;
        setVisited(archive, this, 1);
    }
    void reInit() override {
        value = 0;
        inner.reset();
    }

 private:
    static qvPersistent* make() { return new Node; }
    static qv_Instantiator sExemplar;
};

qv_Instantiator Node::sExemplar(typeid(Node), &Node::make);

/// A class that nobody registered.
class Stranger : public Node {};

/// One root that is reached over two bases; each level writes one byte and uses the archive at work.
class Root : public virtual qvPersistent {
 protected:
    void level(qvArchive& archive, long key, unsigned char byte) {
        archive || byte;
        setVisited(this, key);
    }
    void dispatchSerialize(qvArchive& archive) override {
        if (!haveVisited(this, 10)) level(archive, 10, 0xA0);
    }
};

class Left : public virtual Root {
 protected:
    void dispatchSerialize(qvArchive& archive) override {
        if (haveVisited(this, 11)) return;
        level(archive, 11, 0xB1);
        Root::dispatchSerialize(archive);
    }
};

class Right : public virtual Root {
 protected:
    void dispatchSerialize(qvArchive& archive) override {
        if (haveVisited(this, 12)) return;
        level(archive, 12, 0xB2);
        Root::dispatchSerialize(archive);
    }
};

class Diamond : public Left, public Right {
 public:
    bool visitedOutsideAnArchive() const { return haveVisited(this, 10); }

 protected:
    void dispatchSerialize(qvArchive& archive) override {
        if (haveVisited(this, 13)) return;
        level(archive, 13, 0xC3);
        Left::dispatchSerialize(archive);
        Right::dispatchSerialize(archive);
    }
};

enum class Sign : std::int32_t { minus = -1, plus = 1 };

}  // namespace

TEST(Archive, KnowsItsDirection) {
    std::ostringstream out;
    std::istringstream in;
    EXPECT_TRUE(qvArchive(out).isStoring());
    EXPECT_FALSE(qvArchive(out).isLoading());
    EXPECT_FALSE(qvArchive(in).isStoring());
    EXPECT_TRUE(qvArchive(in).isLoading());
}

TEST(Archive, WritesIntegersLittleEndianAndBytesAsTheyAre) {
    const std::string bytes = storedBytes([](qvArchive& archive) {
        unsigned char byte = 0xFE;
        std::int32_t negative = -2;
        std::uint32_t big = 0x89ABCDEFU;
        archive || byte || negative || big;
    });
    EXPECT_EQ(bytes, bytesOf({0xFE, 0xFE, 0xFF, 0xFF, 0xFF, 0xEF, 0xCD, 0xAB, 0x89}));
    loadFrom(bytes, [](qvArchive& archive) {
        unsigned char byte = 0;
        std::int32_t negative = 0;
        std::uint32_t big = 0;
        archive || byte || negative || big;
        EXPECT_EQ(byte, 0xFE);
        EXPECT_EQ(negative, -2);
        EXPECT_EQ(big, 0x89ABCDEFU);
    });
}

TEST(Archive, ShiftOperatorsGiveTheSameBytesAsTheOneForBothWays) {
    const std::string shifted = storedBytes([](qvArchive& archive) {
        archive << static_cast<unsigned char>(7) << std::int32_t{-300} << std::uint32_t{70000} << std::wstring(L"ab")
                << std::string("c");
    });
    const std::string both = storedBytes([](qvArchive& archive) {
        unsigned char byte = 7;
        std::int32_t negative = -300;
        std::uint32_t big = 70000;
        std::wstring wide = L"ab";
        std::string narrow = "c";
        archive || byte || negative || big || wide || narrow;
    });
    EXPECT_EQ(shifted, both);
    loadFrom(shifted, [](qvArchive& archive) {
        unsigned char byte = 0;
        std::int32_t negative = 0;
        std::uint32_t big = 0;
        std::wstring wide;
        std::string narrow;
        archive >> byte >> negative >> big >> wide >> narrow;
        EXPECT_EQ(byte, 7);
        EXPECT_EQ(negative, -300);
        EXPECT_EQ(big, 70000U);
        EXPECT_EQ(wide, L"ab");
        EXPECT_EQ(narrow, "c");
    });
}

TEST(Archive, WritesStringsAsLengthAndUtf32CodeUnits) {
    const std::string bytes = storedBytes([](qvArchive& archive) { archive << std::wstring(L"A\U0001F6E3"); });
    EXPECT_EQ(bytes, bytesOf({2, 0, 0, 0, 'A', 0, 0, 0, 0xE3, 0xF6, 1, 0}));
}

TEST(Archive, KeepsEmptyStringsAndStringsWithZeros) {
    const std::wstring withZero(L"a\0b", 3);
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << std::wstring() << withZero; });
    ASSERT_EQ(bytes.size(), 4U + 16U);
    loadFrom(bytes, [&](qvArchive& archive) {
        std::wstring empty = L"full";
        std::wstring loaded;
        archive >> empty >> loaded;
        EXPECT_EQ(empty, L"");
        EXPECT_EQ(loaded, withZero);
    });
}

TEST(Archive, KeepsStringsLongerThanOneLotOfReading) {
    std::wstring longText;
    for (int i = 0; i < 2500; ++i) longText.push_back(static_cast<wchar_t>(L'a' + i % 26));
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << longText; });
    loadFrom(bytes, [&](qvArchive& archive) {
        std::wstring loaded;
        archive >> loaded;
        EXPECT_EQ(loaded, longText);
    });
}

TEST(Archive, NarrowStringsKeepEveryByteAndRefuseWiderUnits) {
    std::string all;
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << all; });
    loadFrom(bytes, [&](qvArchive& archive) {
        std::string loaded;
        archive >> loaded;
        EXPECT_EQ(loaded, all);
    });
    const std::string wide = storedBytes([](qvArchive& archive) { archive << std::wstring(L"\u0100"); });
    loadFrom(wide, [](qvArchive& archive) {
        std::string loaded = "before";
        EXPECT_THROW(archive >> loaded, qvArchive::Errors);
        EXPECT_EQ(loaded, "before");
    });
}

TEST(Archive, FalseLengthThrowsWithoutAskingForThatMuch) {
    WatchedSource source(bytesOf({0xFF, 0xFF, 0xFF, 0xFF, 'a', 0, 0, 0}));
    std::istream stream(&source);
    qvArchive archive(stream);
    std::wstring loaded = L"before";
    EXPECT_THROW(archive >> loaded, qvArchive::Errors);
    EXPECT_EQ(loaded, L"before");
    EXPECT_LE(source.largestRequest, 4096);
}

TEST(Archive, EnumerationsGoAs32BitIntegersEachWay) {
    const std::string bytes = storedBytes([](qvArchive& archive) {
        Sign sign = Sign::minus;
        archive || sign;
        archive << Sign::plus;
    });
    EXPECT_EQ(bytes, bytesOf({0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0}));
    loadFrom(bytes, [](qvArchive& archive) {
        Sign first = Sign::plus;
        Sign second = Sign::minus;
        archive >> first;
        archive || second;
        EXPECT_EQ(first, Sign::minus);
        EXPECT_EQ(second, Sign::plus);
    });
}

TEST(Archive, UseAgainstItsDirectionThrows) {
    std::ostringstream out;
    qvArchive storing(out);
    std::int32_t number = 5;
    qvPel::BadSize object;
    qvPersistent* pointer = nullptr;
    EXPECT_THROW(storing >> number, qvArchive::Errors);
    EXPECT_THROW(storing >> object, qvArchive::Errors);
    EXPECT_THROW(storing >> pointer, qvArchive::Errors);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(out.str(), "");

    std::istringstream in(std::string(100, '\0'));
    qvArchive loading(in);
    EXPECT_THROW(loading << number, qvArchive::Errors);
    EXPECT_THROW(loading << object, qvArchive::Errors);
    EXPECT_THROW(loading << &object, qvArchive::Errors);
}

TEST(Archive, FailedStreamThrowsAlsoWhereItIsSetUpToThrowItsOwnErrors) {
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    EXPECT_THROW(qvArchive(out) << std::int32_t{1}, qvArchive::Errors);

    std::ostream nowhere(nullptr);
    EXPECT_THROW(qvArchive(nowhere) << std::int32_t{1}, qvArchive::Errors);

    std::istringstream in("ab");
    in.exceptions(std::ios_base::failbit | std::ios_base::badbit | std::ios_base::eofbit);
    std::int32_t number = 0;
    EXPECT_THROW(qvArchive(in) >> number, qvArchive::Errors);
}

TEST(Archive, ObjectByReferenceCarriesNoTypeNameAndIsWrittenOnceInAnArchive) {
    const qvPel::BadSize error(L"ab");
    // Levels BadSize, Errors and qvExceptionWithString, the message, then level qvException.
    const std::string once = bytesOf({0, 0, 0, 2, 0, 0, 0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0});
    EXPECT_EQ(storedBytes([&](qvArchive& archive) { archive << error; }), once);
    EXPECT_EQ(storedBytes([&](qvArchive& archive) { archive << error << error; }), once);
    loadFrom(once, [](qvArchive& archive) {
        qvPel::BadSize loaded;
        archive >> loaded >> loaded;
        EXPECT_EQ(loaded.message(), L"ab");
    });
}

TEST(Archive, EqualObjectsAtDifferentPlacesAreWrittenEach) {
    const qvPel::BadSize first(L"x");
    const qvPel::BadSize second(first);
    EXPECT_EQ(storedBytes([&](qvArchive& archive) { archive << first << second; }).size(), 2U * 12U);
}

TEST(Archive, MarksBelongToOneArchive) {
    const qvPel::BadSize error(L"ab");
    const auto store = [&](qvArchive& archive) { archive << error; };
    EXPECT_EQ(storedBytes(store).size(), 16U);
    EXPECT_EQ(storedBytes(store).size(), 16U);
}

TEST(Archive, SharedBaseOfTwoBasesIsWrittenOnce) {
    Diamond diamond;
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << diamond; });
    EXPECT_EQ(bytes, bytesOf({0xC3, 0xB1, 0xA0, 0xB2}));
    EXPECT_FALSE(diamond.visitedOutsideAnArchive());
}

TEST(Archive, FailedLoadLeavesNoMarks) {
    std::stringstream stream(bytesOf({0xC3, 0xB1}), std::ios_base::in | std::ios_base::out | std::ios_base::ate);
    qvArchive archive(static_cast<std::istream&>(stream));
    Diamond diamond;
    EXPECT_THROW(archive >> diamond, qvArchive::Errors);
    stream << bytesOf({0xC3, 0xB1, 0xA0, 0xB2});
    archive >> diamond;
    EXPECT_EQ(stream.rdbuf()->in_avail(), 0);
}

TEST(Archive, PointerRecordHoldsTheRegisteredTypeName) {
    const qvFiltErr::BadImageSize error;
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << &error; });
    std::string expected = bytesOf({1, 23, 0, 0, 0});
    for (const char character : std::string("qvFiltErr::BadImageSize")) expected += {character, '\0', '\0', '\0'};
    EXPECT_EQ(bytes, expected + bytesOf({0, 0, 0}));
}

TEST(Archive, LoadingThroughAPointerRecreatesTheDynamicTypeWithItsMessage) {
    const std::string bytes = storedBytes([](qvArchive& archive) {
        qvPersistent* error = new qvPel::SizeMismatch(foreignText);
        archive || error;
        delete error;
    });
    loadFrom(bytes, [](qvArchive& archive) {
        qvPersistent* loaded = nullptr;
        archive || loaded;
        const std::unique_ptr<qvPersistent> owner(loaded);
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(typeid(*loaded), typeid(qvPel::SizeMismatch));
        EXPECT_EQ(dynamic_cast<const qvPel::SizeMismatch&>(*loaded).message(), foreignText);
    });
}

TEST(Archive, NullPointerIsKept) {
    const qvPersistent* none = nullptr;
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << none; });
    EXPECT_EQ(bytes, bytesOf({0}));
    loadFrom(bytes, [](qvArchive& archive) {
        qvPel::BadSize other;
        qvPersistent* loaded = &other;
        archive >> loaded;
        EXPECT_EQ(loaded, nullptr);
    });
}

TEST(Archive, ObjectStoredTwiceByPointerIsOneRecordAndAReference) {
    auto error = std::make_shared<qvPel::BadSize>(L"shared");
    std::shared_ptr<qvPersistent> first = error;
    std::shared_ptr<qvPersistent> second = error;
    const std::string once = storedBytes([&](qvArchive& archive) { archive || first; });
    const std::string twice = storedBytes([&](qvArchive& archive) { archive || first || second; });
    EXPECT_EQ(twice, once + bytesOf({2, 0, 0, 0, 0}));
    loadFrom(twice, [](qvArchive& archive) {
        std::shared_ptr<qvPersistent> loadedFirst;
        std::shared_ptr<qvPersistent> loadedSecond;
        archive || loadedFirst || loadedSecond;
        EXPECT_EQ(loadedFirst, loadedSecond);
        EXPECT_EQ(dynamic_cast<const qvPel::BadSize&>(*loadedFirst).message(), L"shared");
    });
}

TEST(Archive, ReferenceCannotBeLoadedThroughAPointerThatOwns) {
    const qvPel::BadSize error;
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << &error << &error; });
    loadFrom(bytes, [](qvArchive& archive) {
        qvPersistent* loaded = nullptr;
        archive >> loaded;
        const std::unique_ptr<qvPersistent> owner(loaded);
        EXPECT_THROW(archive >> loaded, qvArchive::Errors);
        EXPECT_EQ(loaded, owner.get());
    });
}

TEST(Archive, ReferenceToAnObjectThatACallerOwnsOrThatIsMissingThrows) {
    const qvPel::BadSize error;
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << &error << &error; });
    loadFrom(bytes, [](qvArchive& archive) {
        qvPersistent* loaded = nullptr;
        archive >> loaded;
        delete loaded;
        std::shared_ptr<qvPersistent> shared;
        EXPECT_THROW(archive || shared, qvArchive::Errors);
    });
    loadFrom(bytesOf({2, 1, 0, 0, 0}), [](qvArchive& archive) {
        std::shared_ptr<qvPersistent> shared;
        EXPECT_THROW(archive || shared, qvArchive::Errors);
    });
}

TEST(Archive, PointerRecordIsWholeAlsoAfterTheObjectWasStoredByReference) {
    const qvPel::BadSize error(L"ab");
    const std::string bytes = storedBytes([&](qvArchive& archive) { archive << error << &error << error; });
    loadFrom(bytes, [](qvArchive& archive) {
        qvPel::BadSize inPlace;
        qvPersistent* loaded = nullptr;
        archive >> inPlace >> loaded >> *loaded;
        const std::unique_ptr<qvPersistent> owner(loaded);
        EXPECT_EQ(inPlace.message(), L"ab");
        EXPECT_EQ(dynamic_cast<const qvPel::BadSize&>(*loaded).message(), L"ab");
    });
}

TEST(Archive, ObjectsLoadedOneAfterAnotherAreAllReadAlsoWhenTheirMemoryIsUsedAgain) {
    std::vector<qvPel::BadSize> errors;
    for (int i = 0; i < 50; ++i) errors.emplace_back(std::wstring(1, static_cast<wchar_t>(L'A' + i)));
    const std::string bytes = storedBytes([&](qvArchive& archive) {
        for (const auto& error : errors) archive << &error;
    });
    loadFrom(bytes, [](qvArchive& archive) {
        for (int i = 0; i < 50; ++i) {
            qvPersistent* loaded = nullptr;
            archive >> loaded;
            const std::unique_ptr<qvPersistent> owner(loaded);
            EXPECT_EQ(dynamic_cast<const qvPel::BadSize&>(*loaded).message(),
                      std::wstring(1, static_cast<wchar_t>(L'A' + i)));
        }
    });
}

TEST(Archive, ObjectsWithinObjectsComeBack) {
    const auto outer = std::make_shared<Node>();
    const auto middle = std::make_shared<Node>();
    outer->value = 11;
    outer->inner = middle;
    middle->value = 22;
    // A ring: the archive ends it with a reference to the record that is still being written.
    middle->inner = outer;
    const std::string bytes = storedBytes([&](qvArchive& archive) {
        std::shared_ptr<qvPersistent> object = outer;
        archive || object;
    });
    middle->inner.reset();
    loadFrom(bytes, [](qvArchive& archive) {
        std::shared_ptr<qvPersistent> loaded;
        archive || loaded;
        const auto loadedOuter = std::dynamic_pointer_cast<Node>(loaded);
        ASSERT_TRUE(loadedOuter);
        const auto loadedMiddle = std::dynamic_pointer_cast<Node>(loadedOuter->inner);
        ASSERT_TRUE(loadedMiddle);
        EXPECT_EQ(loadedOuter->value, 11);
        EXPECT_EQ(loadedMiddle->value, 22);
        EXPECT_EQ(loadedMiddle->inner, loaded);
        loadedMiddle->inner.reset();
    });
}

TEST(Archive, RecordsNestedWithoutEndThrow) {
    std::string level = bytesOf({1});
    level += storedBytes([](qvArchive& archive) { archive << qv_Instantiator::find(typeid(Node))->typeName(); });
    level += bytesOf({0, 0, 0, 0});
    std::string bytes;
    for (int i = 0; i < 100000; ++i) bytes += level;
    loadFrom(bytes, [](qvArchive& archive) {
        std::shared_ptr<qvPersistent> loaded;
        EXPECT_THROW(archive || loaded, qvArchive::Errors);
    });
}

TEST(Archive, UnregisteredClassIsRefusedByPointerBeforeAnythingIsWritten) {
    const Stranger stranger;
    std::ostringstream stream;
    qvArchive archive(stream);
    EXPECT_THROW(archive << &stranger, qvArchive::Errors);
    EXPECT_EQ(stream.str(), "");
}

TEST(Archive, UnknownClassOrRecordKindThrowsAndLeavesThePointer) {
    const std::string unknownClass =
        bytesOf({1}) + storedBytes([](qvArchive& archive) { archive << std::string("qvNoSuchClass"); });
    for (const std::string& bytes : {unknownClass, bytesOf({3, 0, 0, 0, 0}), bytesOf({255})}) {
        loadFrom(bytes, [](qvArchive& archive) {
            qvPel::BadSize before;
            qvPersistent* loaded = &before;
            EXPECT_THROW(archive >> loaded, qvArchive::Errors);
            EXPECT_EQ(loaded, &before);
        });
    }
}

TEST(Archive, TruncatedAtEveryByteThrowsAndLeavesAnEmptyObject) {
    const qvPel::BadSize error(foreignText);
    const std::string whole = storedBytes([&](qvArchive& archive) { archive << error; });
    ASSERT_EQ(whole.size(), 4U + 4U + 4U * 4U);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        loadFrom(whole.substr(0, size), [size](qvArchive& archive) {
            qvPel::BadSize loaded(L"before");
            EXPECT_THROW(archive >> loaded, qvArchive::Errors) << size;
            EXPECT_EQ(loaded.message(), L"") << size;
        });
    }
}

TEST(Archive, PointerRecordTruncatedAtEveryByteThrows) {
    const qvPel::BadSize error(foreignText);
    const std::string whole = storedBytes([&](qvArchive& archive) { archive << &error; });
    for (std::size_t size = 0; size < whole.size(); ++size) {
        loadFrom(whole.substr(0, size), [size](qvArchive& archive) {
            qvPersistent* loaded = nullptr;
            EXPECT_THROW(archive >> loaded, qvArchive::Errors) << size;
            EXPECT_EQ(loaded, nullptr);
        });
    }
}

TEST(Archive, AnyWrongByteGivesAnObjectOrAnArchiveErrorAndNothingElse) {
    const qvPel::BadSize error(L"ab");
    const std::string whole = storedBytes([&](qvArchive& archive) { archive << &error; });
    int loads = 0;
    int failures = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string bytes = whole;
            bytes[at] = static_cast<char>(value);
            loadFrom(bytes, [&](qvArchive& archive) {
                std::shared_ptr<qvPersistent> loaded;
                try {
                    archive || loaded;
                    ++loads;
                } catch (const qvArchive::Errors&) {
                    ++failures;
                }
            });
        }
    }
    // Of the 77 bytes the eight of the two characters may have any value, each of the other 69 has one good value, and
    // record kind 0 is a null pointer. Where wide text is UTF-16, a character ends at 0x10FFFF.
    ASSERT_EQ(whole.size(), 77U);
    constexpr int goodValuesOfACharacter = sizeof(wchar_t) == 4 ? 4 * 256 : 2 * 256 + 17 + 1;
    EXPECT_EQ(loads, 2 * goodValuesOfACharacter + 69 + 1);
    EXPECT_EQ(failures, 77 * 256 - loads);
}

TEST(Archive, FailedLoadCanBeTriedAgainFromAnotherArchive) {
    const qvPel::BadSize error(L"ab");
    const std::string whole = storedBytes([&](qvArchive& archive) { archive << error; });
    qvPel::BadSize loaded(L"before");
    loadFrom(whole.substr(0, whole.size() - 1),
             [&](qvArchive& archive) { EXPECT_THROW(archive >> loaded, qvArchive::Errors); });
    loadFrom(whole, [&](qvArchive& archive) { archive >> loaded; });
    EXPECT_EQ(loaded.message(), L"ab");
}

TEST(Instantiator, FindsClassesByQualifiedNameAndByExactType) {
    const qv_Instantiator* exemplar = qv_Instantiator::find(std::string("qvMatrixErr::Singular"));
    ASSERT_NE(exemplar, nullptr);
    EXPECT_EQ(exemplar->typeName(), "qvMatrixErr::Singular");
    EXPECT_EQ(exemplar, qv_Instantiator::find(typeid(qvMatrixErr::Singular)));
    const auto object = exemplar->create();
    const qvPersistent& created = *object;
    EXPECT_EQ(typeid(created), typeid(qvMatrixErr::Singular));
    EXPECT_EQ(qv_Instantiator::find(std::string("Singular")), nullptr);
    EXPECT_EQ(qv_Instantiator::find(typeid(Stranger)), nullptr);
}

TEST(Instantiator, AbstractBasesAreNotRegistered) {
    for (const char* name : {"qvException", "qvExceptionWithString", "qvPel::Errors", "qvMatrixErr::Errors",
                             "qvPeak1dErr::Errors", "qvLSLineFitterErr::Errors"}) {
        EXPECT_EQ(qv_Instantiator::find(std::string(name)), nullptr) << name;
    }
}

TEST(Instantiator, UnregistersAtItsEndWhicheverEndsFirst) {
    const auto make = []() -> qvPersistent* { return new Stranger; };
    auto older = std::make_unique<qv_Instantiator>(typeid(Stranger), make);
    auto newer = std::make_unique<qv_Instantiator>(typeid(Stranger), make);
    EXPECT_EQ(qv_Instantiator::find(typeid(Stranger)), newer.get());
    older.reset();
    EXPECT_EQ(qv_Instantiator::find(typeid(Stranger)), newer.get());
    newer.reset();
    EXPECT_EQ(qv_Instantiator::find(typeid(Stranger)), nullptr);
}

namespace {

/// Marks as a class sees them.
class OpenMarks : public qvPersistent {
 public:
    using qvPersistent::haveVisited;
    using qvPersistent::setVisited;
};

}  // namespace

TEST(Archive, NothingIsMarkedWhereNoArchiveIsAtWork) {
    const OpenMarks object;
    OpenMarks::setVisited(&object, 5);
    EXPECT_FALSE(OpenMarks::haveVisited(&object, 5));
    std::ostringstream stream;
    qvArchive archive(stream);
    OpenMarks::setVisited(&object, 5);
    EXPECT_FALSE(OpenMarks::haveVisited(archive, &object, 5));
    OpenMarks::setVisited(archive, &object, 5);
    EXPECT_TRUE(OpenMarks::haveVisited(archive, &object, 5));
}
