#include "qvstreet/streetfinder/street_finder_defs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "tests/support/stored_bytes.h"

namespace {

using Defs = qvStreetFinderDefs;
using qvtest::storedBytes;
using qvtest::throughArchive;
using qvtest::unknownVersionOf;

std::string bytesOf(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) bytes.push_back(static_cast<char>(value));
    return bytes;
}

int destroyed = 0;

class CountedUnboundImage : public Defs::UnboundImage {
 public:
    using UnboundImage::UnboundImage;
    ~CountedUnboundImage() override { ++destroyed; }
};

template <class Enumeration>
void expectArchivedAs32Bits(Enumeration stored, const std::string& bytes) {
    std::ostringstream out;
    qvArchive storing(out);
    storing || stored;
    EXPECT_EQ(out.str(), bytes);
    std::istringstream in(bytes);
    qvArchive loading(in);
    auto loaded = static_cast<Enumeration>(9);
    loading || loaded;
    EXPECT_EQ(loaded, stored);
    std::istringstream truncated(bytes.substr(0, 3));
    qvArchive failing(truncated);
    EXPECT_THROW(failing || loaded, qvArchive::Errors);
    EXPECT_EQ(loaded, stored);
}

}  // namespace

TEST(StreetFinderDefs, WaferTypesHaveTheirValuesIn32Bits) {
    EXPECT_EQ(static_cast<int>(Defs::eEdgePairWafer), 0);
    EXPECT_EQ(static_cast<int>(Defs::eRidgeWafer), 1);
    EXPECT_EQ(static_cast<int>(Defs::eCoarseRidgeWafer), 2);
    EXPECT_EQ(static_cast<int>(Defs::eSpecial), 3);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Defs::waferType>, std::int32_t>));
}

TEST(StreetFinderDefs, PolaritiesHaveTheirValuesIn32Bits) {
    EXPECT_EQ(static_cast<int>(Defs::eAnyPolarity), 0);
    EXPECT_EQ(static_cast<int>(Defs::eDarkOnLight), 1);
    EXPECT_EQ(static_cast<int>(Defs::eLightOnDark), 2);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Defs::streetPolarity>, std::int32_t>));
}

TEST(StreetFinderDefs, ResultTypesHaveTheirValuesIn32Bits) {
    EXPECT_EQ(static_cast<int>(Defs::eStreetFromEdges), 0);
    EXPECT_EQ(static_cast<int>(Defs::eStreetFromLine), 1);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Defs::resultType>, std::int32_t>));
}

TEST(StreetFinderDefs, EnumerationsAreArchivedAs32BitIntegers) {
    expectArchivedAs32Bits(Defs::eCoarseRidgeWafer, bytesOf({2, 0, 0, 0}));
    expectArchivedAs32Bits(Defs::eDarkOnLight, bytesOf({1, 0, 0, 0}));
    expectArchivedAs32Bits(Defs::eStreetFromLine, bytesOf({1, 0, 0, 0}));
    expectArchivedAs32Bits(static_cast<Defs::streetPolarity>(-2), bytesOf({0xFE, 0xFF, 0xFF, 0xFF}));
}

TEST(StreetFinderErrors, DefaultBadParamsHasAnEmptyMessageAndItsNumber) {
    const Defs::BadParams error;
    EXPECT_EQ(error.message(), L"");
    EXPECT_EQ(error.errorNumber(), 268468993);
    EXPECT_STREQ(error.what(), "qvStreetFinderDefs::BadParams");
}

TEST(StreetFinderErrors, DefaultUnboundImageHasAnEmptyMessageAndItsNumber) {
    const Defs::UnboundImage error;
    EXPECT_EQ(error.message(), L"");
    EXPECT_EQ(error.errorNumber(), 268468994);
    EXPECT_STREQ(error.what(), "qvStreetFinderDefs::UnboundImage");
}

TEST(StreetFinderErrors, ErrorsIsAbstractAndDerivedFromTheExceptionWithAMessage) {
    EXPECT_TRUE(std::is_abstract_v<Defs::Errors>);
    EXPECT_TRUE((std::is_base_of_v<qvExceptionWithString, Defs::Errors>));
    EXPECT_TRUE((std::is_base_of_v<Defs::Errors, Defs::BadParams>));
    EXPECT_TRUE((std::is_base_of_v<Defs::Errors, Defs::UnboundImage>));
    EXPECT_FALSE((std::is_base_of_v<Defs::BadParams, Defs::UnboundImage>));
    EXPECT_EQ(qv_Instantiator::find(std::string("qvStreetFinderDefs::Errors")), nullptr);
}

TEST(StreetFinderErrors, MessageIsKeptWithLeadingBlanksInCopies) {
    const Defs::BadParams error(L" invalid line index");
    const Defs::BadParams copy(error);
    Defs::BadParams assigned(L"other");
    assigned = error;
    EXPECT_EQ(copy.message(), L" invalid line index");
    EXPECT_EQ(assigned.message(), L" invalid line index");
    EXPECT_STREQ(error.what(), " invalid line index");
    std::wostringstream stream;
    error.message_(stream);
    EXPECT_EQ(stream.str(), L" invalid line index");
}

TEST(StreetFinderErrors, SuicideAndRethrowOfUnboundImageIsCaughtAsErrorsWithItsMessage) {
    destroyed = 0;
    Defs::Errors* held = new CountedUnboundImage(L"Image is unbound.");
    try {
        held->suicideAndRethrow();
        FAIL();
    } catch (const Defs::Errors& error) {
        EXPECT_EQ(destroyed, 1);
        EXPECT_EQ(typeid(error), typeid(Defs::UnboundImage));
        EXPECT_EQ(error.message(), L"Image is unbound.");
        EXPECT_EQ(error.errorNumber(), 268468994);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(StreetFinderErrors, SuicideAndRethrowOfBadParamsKeepsItsType) {
    qvException* held = new Defs::BadParams(L"cnt must be positive.");
    EXPECT_THROW(held->suicideAndRethrow(), Defs::BadParams);
}

TEST(StreetFinderErrors, ArchiveHoldsOneVersionByteForEachLevel) {
    // BadParams, Errors, qvExceptionWithString with its message, qvException.
    EXPECT_EQ(storedBytes(Defs::BadParams(L"x")), bytesOf({0, 0, 0, 1, 0, 0, 0, 'x', 0, 0, 0, 0}));
    EXPECT_EQ(storedBytes(Defs::UnboundImage()), bytesOf({0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(StreetFinderErrors, SameObjectTwiceInOneArchiveIsWrittenOnce) {
    const Defs::BadParams error(L"x");
    std::ostringstream stream;
    qvArchive archive(stream);
    archive << error << error;
    EXPECT_EQ(stream.str().size(), 12U);
}

TEST(StreetFinderErrors, VersionOneIsRefusedWithTheNameOfItsClass) {
    const std::string params = storedBytes(Defs::BadParams(L"x"));
    std::string ownLevel = params;
    ownLevel[0] = 1;
    EXPECT_EQ(unknownVersionOf<Defs::BadParams>(ownLevel), "qvStreetFinderDefs::BadParams 0");
    std::string baseLevel = params;
    baseLevel[1] = 1;
    EXPECT_EQ(unknownVersionOf<Defs::BadParams>(baseLevel), "qvStreetFinderDefs::Errors 0");
    std::string unbound = storedBytes(Defs::UnboundImage(L"x"));
    unbound[0] = 1;
    EXPECT_EQ(unknownVersionOf<Defs::UnboundImage>(unbound), "qvStreetFinderDefs::UnboundImage 0");
}

TEST(StreetFinderErrors, RoundTripByPointerKeepsTypeAndForeignMessage) {
    const Defs::UnboundImage error(L"\u00dcnbound \u8857\U0001F6E3");
    const std::unique_ptr<qvPersistent> loaded = throughArchive(error);
    const auto* exception = dynamic_cast<const qvExceptionWithString*>(loaded.get());
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(typeid(*exception), typeid(Defs::UnboundImage));
    EXPECT_EQ(exception->message(), L"\u00dcnbound \u8857\U0001F6E3");
}

TEST(StreetFinderErrors, LoadedExceptionCanBeThrownFromTheHeap) {
    const Defs::BadParams error(L"edges sharpness must be positive.");
    qvPersistent* const loaded = throughArchive(error).release();
    try {
        dynamic_cast<qvException&>(*loaded).suicideAndRethrow();
        FAIL();
    } catch (const Defs::BadParams& thrown) {
        EXPECT_EQ(thrown.message(), L"edges sharpness must be positive.");
    }
}

TEST(StreetFinderErrors, ArchiveTruncatedAtEveryByteThrows) {
    const std::string whole = storedBytes(Defs::BadParams(L"ab"));
    ASSERT_EQ(whole.size(), 16U);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        std::istringstream in(whole.substr(0, size));
        qvArchive archive(in);
        Defs::BadParams loaded(L"before");
        EXPECT_THROW(archive >> loaded, qvArchive::Errors) << size;
        EXPECT_EQ(loaded.message(), L"") << size;
    }
}
