#include "qvstreet/platform/exceptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>

// Included last: the exceptions must be complete without it.
#include "qvstreet/platform/archive.h"
#include "tests/support/stored_bytes.h"

namespace {

using qvtest::storedBytes;
using qvtest::throughArchive;
using qvtest::unknownVersionOf;

/// What every class that is thrown must do, whether it has a message or not.
template <class Class, class Base>
void expectConcreteClass(const std::string& name, long number) {
    SCOPED_TRACE(name);
    static_assert(std::is_base_of_v<Base, Class>);
    static_assert(std::is_base_of_v<std::exception, Class>);
    static_assert(std::is_nothrow_destructible_v<Class>);
    static_assert(std::is_copy_constructible_v<Class> && std::is_copy_assignable_v<Class>);

    const Class error;
    EXPECT_EQ(error.errorNumber(), number);
    EXPECT_EQ(std::string(static_cast<const std::exception&>(error).what()), name);

    auto* held = new Class;
    EXPECT_THROW(held->suicideAndRethrow(), Class);
    qvException* heldAsRoot = new Class;
    EXPECT_THROW(heldAsRoot->suicideAndRethrow(), Base);

    const std::unique_ptr<qvPersistent> loaded = throughArchive(error);
    const auto* exception = dynamic_cast<const Class*>(loaded.get());
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->errorNumber(), number);

    std::string versionOne = storedBytes(error);
    versionOne[0] = 1;
    EXPECT_EQ(unknownVersionOf<Class>(versionOne), name + " 0");
}

/// On top, for the classes with a message.
template <class Class, class Base>
void expectConcreteClassWithMessage(const std::string& name, long number) {
    expectConcreteClass<Class, Base>(name, number);
    SCOPED_TRACE(name);
    const Class error(L"n\u00famero \u8857");
    EXPECT_STREQ(error.what(), "n\xC3\xBAmero \xE8\xA1\x97");

    std::istringstream in(storedBytes(error));
    qvArchive loading(in);
    Class loaded(L"before");
    loading >> loaded;
    EXPECT_EQ(loaded.message(), L"n\u00famero \u8857");
    EXPECT_STREQ(loaded.what(), "n\xC3\xBAmero \xE8\xA1\x97");

    try {
        (new Class(error))->suicideAndRethrow();
    } catch (const Class& thrown) {
        EXPECT_EQ(thrown.message(), L"n\u00famero \u8857");
    }
}

/// An object that an archive has stored before is not stored again; an equal one elsewhere is.
template <class Class>
void expectStoredOnce() {
    const Class error;
    const Class other;
    std::ostringstream once;
    qvArchive(once) << error << error;
    EXPECT_EQ(once.str(), storedBytes(error)) << error.what();
    std::ostringstream twice;
    qvArchive(twice) << error << other;
    EXPECT_EQ(twice.str(), storedBytes(error) + storedBytes(other)) << error.what();
}

int destroyedErrors = 0;

class CountedBadSize : public qvPel::BadSize {
 public:
    using BadSize::BadSize;
    ~CountedBadSize() override { ++destroyedErrors; }
};

/// What a host derives for itself, without a name or a record of its own.
class HostError : public qvExceptionWithString {
 public:
    explicit HostError(const std::wstring& message) : qvExceptionWithString(message) {}
    long errorNumber() const override { return 5; }
    void suicideAndRethrow() override { FAIL(); }
};

}  // namespace

TEST(Exceptions, EveryThrownClassHasItsNumberNameFactoryAndVersion) {
    expectConcreteClassWithMessage<qvInvariantFailure, qvExceptionWithString>("qvInvariantFailure", 268435457);
    expectConcreteClassWithMessage<qvArchive::Errors, qvExceptionWithString>("qvArchive::Errors", 268435712);
    expectConcreteClassWithMessage<qvPel::UnboundWindow, qvPel::Errors>("qvPel::UnboundWindow", 268435969);
    expectConcreteClassWithMessage<qvPel::BadSize, qvPel::Errors>("qvPel::BadSize", 268435970);
    expectConcreteClassWithMessage<qvPel::SizeMismatch, qvPel::Errors>("qvPel::SizeMismatch", 268435971);
    expectConcreteClassWithMessage<qvMatrixErr::Singular, qvMatrixErr::Errors>("qvMatrixErr::Singular", 268436225);
    expectConcreteClass<qvFiltErr::Errors, qvException>("qvFiltErr::Errors", 268436480);
    expectConcreteClass<qvFiltErr::BadImageSize, qvFiltErr::Errors>("qvFiltErr::BadImageSize", 268436481);
    expectConcreteClass<qvFiltErr::BadFilterSize, qvFiltErr::Errors>("qvFiltErr::BadFilterSize", 268436482);
    expectConcreteClassWithMessage<qvPeak1dErr::ImageTooSmall, qvPeak1dErr::Errors>("qvPeak1dErr::ImageTooSmall",
                                                                                    268436737);
    expectConcreteClassWithMessage<qvLSLineFitterErr::UnstableErr, qvLSLineFitterErr::Errors>(
        "qvLSLineFitterErr::UnstableErr", 268436993);
    expectConcreteClass<qvArchive::UnknownVersion, qvArchive::Errors>("qvArchive::UnknownVersion", 268435713);
}

TEST(Exceptions, ScopeErrorsThatAreNotThrownAreAbstract) {
    EXPECT_TRUE(std::is_abstract_v<qvPel::Errors>);
    EXPECT_TRUE(std::is_abstract_v<qvMatrixErr::Errors>);
    EXPECT_TRUE(std::is_abstract_v<qvPeak1dErr::Errors>);
    EXPECT_TRUE(std::is_abstract_v<qvLSLineFitterErr::Errors>);
    EXPECT_TRUE(std::is_abstract_v<qvExceptionWithString>);
    EXPECT_TRUE(std::is_abstract_v<qvException>);
}

TEST(Exceptions, FilterErrorsCarryNoMessage) {
    EXPECT_FALSE((std::is_base_of_v<qvExceptionWithString, qvFiltErr::Errors>));
    // Levels BadImageSize, Errors and qvException: nothing but their version bytes.
    EXPECT_EQ(storedBytes(qvFiltErr::BadImageSize()), std::string(3, '\0'));
}

TEST(Exceptions, VersionOneIsReportedForEachLevelOfTheChain) {
    const std::string whole = storedBytes(qvPel::BadSize(L"a"));
    const std::string expected[] = {"qvPel::BadSize 0", "qvPel::Errors 0", "qvExceptionWithString 0"};
    for (std::size_t level = 0; level < 3; ++level) {
        std::string bytes = whole;
        bytes[level] = 1;
        EXPECT_EQ(unknownVersionOf<qvPel::BadSize>(bytes), expected[level]);
    }
    // The root's version byte is the last: behind three version bytes, the length and one character.
    ASSERT_EQ(whole.size(), 12U);
    std::string bytes = whole;
    bytes[11] = 1;
    EXPECT_EQ(unknownVersionOf<qvPel::BadSize>(bytes), "qvException 0");

    std::string filter = storedBytes(qvFiltErr::BadFilterSize());
    filter[1] = 1;
    EXPECT_EQ(unknownVersionOf<qvFiltErr::BadFilterSize>(filter), "qvFiltErr::Errors 0");
}

TEST(Exceptions, AnyVersionButZeroIsUnknown) {
    for (const int version : {2, 127, 128, 255}) {
        std::string bytes = storedBytes(qvPel::BadSize());
        bytes[0] = static_cast<char>(version);
        EXPECT_EQ(unknownVersionOf<qvPel::BadSize>(bytes), "qvPel::BadSize 0") << version;
    }
}

TEST(Exceptions, UnknownVersionKeepsClassNameVersionAndMessageInAnArchive) {
    const qvArchive::UnknownVersion error("qvPel::BadSize", 7);
    EXPECT_STREQ(error.what(), "The archive holds another version of qvPel::BadSize than 7.");
    std::istringstream in(storedBytes(error));
    qvArchive loading(in);
    qvArchive::UnknownVersion loaded("before", 1);
    loading >> loaded;
    EXPECT_EQ(loaded.className(), "qvPel::BadSize");
    EXPECT_EQ(loaded.version(), 7);
    EXPECT_STREQ(loaded.what(), "The archive holds another version of qvPel::BadSize than 7.");
}

TEST(Exceptions, UnknownVersionIsEmptyAfterATruncatedLoad) {
    const std::string whole = storedBytes(qvArchive::UnknownVersion("qvPel::BadSize", 7));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        std::istringstream in(whole.substr(0, size));
        qvArchive loading(in);
        qvArchive::UnknownVersion loaded("before", 1);
        EXPECT_THROW(loading >> loaded, qvArchive::Errors);
        EXPECT_EQ(loaded.className(), "");
        EXPECT_EQ(loaded.version(), 0);
        EXPECT_EQ(loaded.message(), L"");
    }
}

TEST(Exceptions, SuicideAndRethrowDestroysTheHeldObjectOnceBeforeTheHandlerRuns) {
    destroyedErrors = 0;
    qvException* held = new CountedBadSize(L"held");
    try {
        held->suicideAndRethrow();
        FAIL();
    } catch (const qvPel::Errors& error) {
        EXPECT_EQ(destroyedErrors, 1);
        EXPECT_EQ(typeid(error), typeid(qvPel::BadSize));
        EXPECT_EQ(error.message(), L"held");
    }
    EXPECT_EQ(destroyedErrors, 1);
}

TEST(Exceptions, CopyAndAssignmentTakeTheMessage) {
    const qvPel::BadSize error(L"first");
    qvPel::BadSize copy(error);
    EXPECT_EQ(copy.message(), L"first");
    copy = qvPel::BadSize(L"second");
    EXPECT_EQ(copy.message(), L"second");
    EXPECT_EQ(error.message(), L"first");
    copy = qvPel::BadSize();
    EXPECT_EQ(copy.message(), L"");
    EXPECT_STREQ(copy.what(), "qvPel::BadSize");
}

TEST(Exceptions, MessageGoesToAWideStream) {
    std::wostringstream stream;
    qvPel::BadSize(L" \u00fc message ").message_(stream);
    EXPECT_EQ(stream.str(), L" \u00fc message ");
}

TEST(Exceptions, CaughtAsStandardException) {
    try {
        throw qvMatrixErr::Singular(L"no inverse");
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "no inverse");
    }
}

TEST(Exceptions, AssertionThrowsItsTextOnlyWhereThePromiseIsBroken) {
    EXPECT_NO_THROW(qf_assert(true, L"kept"));
    try {
        qf_assert(false, L"tile count is 0");
        FAIL();
    } catch (const qvInvariantFailure& error) {
        EXPECT_EQ(error.message(), L"tile count is 0");
    }
}

TEST(Exceptions, OneArchiveHoldsAnExceptionOnce) {
    expectStoredOnce<qvInvariantFailure>();
    expectStoredOnce<qvArchive::Errors>();
    expectStoredOnce<qvArchive::UnknownVersion>();
    expectStoredOnce<qvPel::UnboundWindow>();
    expectStoredOnce<qvPel::BadSize>();
    expectStoredOnce<qvPel::SizeMismatch>();
    expectStoredOnce<qvMatrixErr::Singular>();
    expectStoredOnce<qvFiltErr::Errors>();
    expectStoredOnce<qvFiltErr::BadImageSize>();
    expectStoredOnce<qvFiltErr::BadFilterSize>();
    expectStoredOnce<qvPeak1dErr::ImageTooSmall>();
    expectStoredOnce<qvLSLineFitterErr::UnstableErr>();
}

TEST(Exceptions, ClassThatAHostDerivesHasTheNameOfItsBase) {
    EXPECT_STREQ(HostError(L"").what(), "qvExceptionWithString");
    EXPECT_STREQ(HostError(L"r\u00f6d").what(),
                 "r\xC3\xB6"
                 "d");
}
