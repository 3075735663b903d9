#include "qvstreet/blankregion/blank_region_defs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

using Defs = qvStreetBlankRegionFinderDefs;

std::string bytesOf(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) bytes.push_back(static_cast<char>(value));
    return bytes;
}

std::string storedBytes(const Defs::BadParams& error) {
    std::ostringstream stream;
    qvArchive archive(stream);
    archive << error;
    return stream.str();
}

/// Class name and version of the `UnknownVersion` that loading throws.
std::string unknownVersionOf(const std::string& bytes) {
    std::istringstream stream(bytes);
    qvArchive archive(stream);
    Defs::BadParams error;
    try {
        archive >> error;
    } catch (const qvArchive::UnknownVersion& unknown) {
        return unknown.className() + " " + std::to_string(unknown.version());
    }
    return "";
}

int destroyed = 0;

class CountedBadParams : public Defs::BadParams {
 public:
    using BadParams::BadParams;
    ~CountedBadParams() override { ++destroyed; }
};

}  // namespace

TEST(BlankRegionDefs, DirectionsHaveTheirValuesIn32Bits) {
    EXPECT_EQ(static_cast<int>(Defs::eHorizontal), 0);
    EXPECT_EQ(static_cast<int>(Defs::eVertical), 1);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<Defs::streetDirection>, std::int32_t>));
}

TEST(BlankRegionDefs, DirectionIsArchivedAsA32BitInteger) {
    std::ostringstream out;
    qvArchive storing(out);
    Defs::streetDirection stored = Defs::eVertical;
    storing || stored;
    EXPECT_EQ(out.str(), bytesOf({1, 0, 0, 0}));
    std::istringstream in(bytesOf({0xFE, 0xFF, 0xFF, 0xFF}));
    qvArchive loading(in);
    Defs::streetDirection loaded = Defs::eHorizontal;
    loading || loaded;
    EXPECT_EQ(static_cast<std::int32_t>(loaded), -2);
}

TEST(BlankRegionErrors, ScopeCanBeCopiedAndAssigned) {
    EXPECT_TRUE(std::is_empty_v<Defs>);
    EXPECT_TRUE(std::is_copy_assignable_v<Defs>);
}

TEST(BlankRegionErrors, BadParamsHasItsNumberItsNameAndAnEmptyMessage) {
    const Defs::BadParams error;
    EXPECT_EQ(error.message(), L"");
    EXPECT_EQ(error.errorNumber(), 0x10008801);
    EXPECT_EQ(error.errorNumber(), 268470273);
    EXPECT_STREQ(error.what(), "qvStreetBlankRegionFinderDefs::BadParams");
}

TEST(BlankRegionErrors, ErrorsIsAbstractAndDerivedFromTheExceptionWithAMessage) {
    EXPECT_TRUE(std::is_abstract_v<Defs::Errors>);
    EXPECT_TRUE((std::is_base_of_v<qvExceptionWithString, Defs::Errors>));
    EXPECT_TRUE((std::is_base_of_v<qvException, Defs::Errors>));
    EXPECT_TRUE((std::is_base_of_v<qvPersistent, Defs::Errors>));
    EXPECT_TRUE((std::is_base_of_v<Defs::Errors, Defs::BadParams>));
    EXPECT_EQ(qv_Instantiator::find(std::string("qvStreetBlankRegionFinderDefs::Errors")), nullptr);
}

TEST(BlankRegionErrors, MessageIsKeptInCopies) {
    const Defs::BadParams error(L"numResults must be > 0");
    const Defs::BadParams copy(error);
    Defs::BadParams assigned(L"other");
    assigned = error;
    EXPECT_EQ(copy.message(), L"numResults must be > 0");
    EXPECT_EQ(assigned.message(), L"numResults must be > 0");
    EXPECT_STREQ(error.what(), "numResults must be > 0");
}

TEST(BlankRegionErrors, SuicideAndRethrowDeletesTheObjectAndThrowsACopy) {
    destroyed = 0;
    Defs::Errors* held = new CountedBadParams(L"gone");
    try {
        held->suicideAndRethrow();
        FAIL();
    } catch (const Defs::Errors& error) {
        EXPECT_EQ(destroyed, 1);
        EXPECT_EQ(typeid(error), typeid(Defs::BadParams));
        EXPECT_EQ(error.message(), L"gone");
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(BlankRegionErrors, BadParamsIsRecreatedByItsTypeWithItsMessage) {
    const Defs::BadParams error(L"minLengthPels must be > 0");
    std::ostringstream out;
    qvArchive storing(out);
    const qvPersistent* pointer = &error;
    storing << pointer;
    std::istringstream in(out.str());
    qvArchive loading(in);
    qvPersistent* loaded = nullptr;
    loading >> loaded;
    const std::unique_ptr<qvPersistent> owner(loaded);
    const auto* again = dynamic_cast<Defs::BadParams*>(loaded);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->message(), L"minLengthPels must be > 0");
}

TEST(BlankRegionErrors, UnknownVersionNamesTheClassWhoseRecordItIs) {
    const std::string bytes = storedBytes(Defs::BadParams(L"m"));
    ASSERT_GE(bytes.size(), 2u);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 0);
    std::string first = bytes;
    first[0] = 1;
    EXPECT_EQ(unknownVersionOf(first), "qvStreetBlankRegionFinderDefs::BadParams 0");
    std::string second = bytes;
    second[1] = 1;
    EXPECT_EQ(unknownVersionOf(second), "qvStreetBlankRegionFinderDefs::Errors 0");
    EXPECT_EQ(unknownVersionOf(bytes), "");
}
