// A host with hidden visibility that catches every exception of the library: by its exact type, by each of its bases and
// as std::exception. What crosses the border of the shared library is compared by name; a class whose type information
// is not exported, or that the host made a second time, is not caught here.
//
// Prints the name of each class that it has caught or caught by, one per line.
#include "qvstreet/qvstreet.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

int failures = 0;

void fail(const char* name, const char* what) {
    std::fprintf(stderr, "catches: %s: %s\n", name, what);
    ++failures;
}

template <class Caught>
void catchAs(const char* name, const std::function<void()>& thrower, const char* caughtName) {
    try {
        try {
            thrower();
            fail(name, "nothing was thrown");
        } catch (const Caught& error) {
            const auto* standard = dynamic_cast<const std::exception*>(&error);
            if (standard == nullptr || standard->what() == nullptr || std::strlen(standard->what()) == 0)
                fail(name, "its what() is empty");
            std::printf("%s\n", caughtName);
        }
    } catch (...) {
        fail(name, (std::string("is not caught as ") + caughtName).c_str());
    }
}

/// Through an archive and back: the library makes the object that it throws.
template <class Thrown>
void throwFromArchive() {
    std::stringstream bytes(std::ios::in | std::ios::out | std::ios::binary);
    const Thrown original;
    qvArchive(static_cast<std::ostream&>(bytes)) << static_cast<const qvPersistent*>(&original);
    qvPersistent* recreated = nullptr;
    qvArchive(static_cast<std::istream&>(bytes)) >> recreated;
    auto* error = dynamic_cast<qvException*>(recreated);
    if (error == nullptr) {
        delete recreated;
        return;
    }
    error->suicideAndRethrow();
}

template <class Thrown>
void catchExactly(const char* name, const std::function<void()>& thrower) {
    catchAs<Thrown>(name, thrower, name);
    try {
        thrower();
    } catch (const std::exception& error) {
        if (typeid(error) != typeid(Thrown)) fail(name, "its run-time type is another one");
    }
    catchAs<qvException>(name, thrower, "qvException");
    catchAs<std::exception>(name, thrower, "std::exception");
}

#define CATCH_AS(Thrown, Base) catchAs<Base>(#Thrown, throwFromArchive<Thrown>, #Base)
#define CATCH(Thrown) catchExactly<Thrown>(#Thrown, throwFromArchive<Thrown>)
#define CATCH_FROM_CALL(Thrown, ...) catchExactly<Thrown>(#Thrown, [] { __VA_ARGS__; })

void everyClass() {
    CATCH(qvInvariantFailure);
    CATCH_AS(qvInvariantFailure, qvExceptionWithString);
    CATCH(qvArchive::Errors);
    CATCH_AS(qvArchive::Errors, qvExceptionWithString);
    CATCH(qvArchive::UnknownVersion);
    CATCH_AS(qvArchive::UnknownVersion, qvArchive::Errors);
    CATCH(qvPel::UnboundWindow);
    CATCH_AS(qvPel::UnboundWindow, qvPel::Errors);
    CATCH(qvPel::BadSize);
    CATCH_AS(qvPel::BadSize, qvPel::Errors);
    CATCH(qvPel::SizeMismatch);
    CATCH_AS(qvPel::SizeMismatch, qvPel::Errors);
    CATCH(qvMatrixErr::Singular);
    CATCH_AS(qvMatrixErr::Singular, qvMatrixErr::Errors);
    CATCH(qvFiltErr::Errors);
    CATCH(qvFiltErr::BadImageSize);
    CATCH_AS(qvFiltErr::BadImageSize, qvFiltErr::Errors);
    CATCH(qvFiltErr::BadFilterSize);
    CATCH_AS(qvFiltErr::BadFilterSize, qvFiltErr::Errors);
    CATCH(qvPeak1dErr::ImageTooSmall);
    CATCH_AS(qvPeak1dErr::ImageTooSmall, qvPeak1dErr::Errors);
    CATCH(qvLSLineFitterErr::UnstableErr);
    CATCH_AS(qvLSLineFitterErr::UnstableErr, qvLSLineFitterErr::Errors);
    CATCH(qvStreetFinderDefs::BadParams);
    CATCH_AS(qvStreetFinderDefs::BadParams, qvStreetFinderDefs::Errors);
    CATCH(qvStreetFinderDefs::UnboundImage);
    CATCH_AS(qvStreetFinderDefs::UnboundImage, qvStreetFinderDefs::Errors);
    CATCH(qvStreetBlankRegionFinderDefs::BadParams);
    CATCH_AS(qvStreetBlankRegionFinderDefs::BadParams, qvStreetBlankRegionFinderDefs::Errors);
}

/// Those that a host can bring about itself, each by the call that throws it.
void everyMistake() {
    using Image = qvPelBuffer_const<unsigned char>;
    CATCH_FROM_CALL(qvInvariantFailure, qf_assert(false, L"a promise"));
    CATCH_FROM_CALL(qvArchive::Errors, {
        std::istringstream nothing;
        qvArchive archive(nothing);
        std::int32_t value = 0;
        archive >> value;
    });
    CATCH_FROM_CALL(qvArchive::UnknownVersion, {
        std::istringstream future(std::string(16, '\x7f'));
        qvArchive archive(future);
        qvPel::BadSize object;
        archive >> static_cast<qvPersistent&>(object);
    });
    CATCH_FROM_CALL(qvPel::UnboundWindow, qfPelMin(Image()));
    CATCH_FROM_CALL(qvPel::BadSize, qfPelMap(qvPelBuffer<unsigned char>(3, 2), std::vector<unsigned char>(255)));
    CATCH_FROM_CALL(qvPel::SizeMismatch, {
        qvPelBuffer<unsigned char> sum;
        qfPelAdd(qvPelBuffer<unsigned char>(3, 2), qvPelBuffer<unsigned char>(2, 3), sum, 0);
    });
    CATCH_FROM_CALL(qvMatrixErr::Singular, qvMatrix<2>(1.0, 2.0, 2.0, 4.0).inverse());
    CATCH_FROM_CALL(qvLSLineFitterErr::UnstableErr, qvLSLineFitter().fit());
    CATCH_FROM_CALL(qvStreetFinderDefs::BadParams, qvStreetFinderParams().maxResults(0));
    CATCH_FROM_CALL(qvStreetFinderDefs::UnboundImage, {
        std::vector<qvStreetFinderStreetCrossResult> crossings;
        qvStreetFinder(qvStreetFinderParams()).find(crossings);
    });
    CATCH_FROM_CALL(qvStreetFinderDefs::BadParams, qvStreetMeasureParams().reach(0.0));
    CATCH_FROM_CALL(qvStreetFinderDefs::BadParams, qvStreetLineMeasurement().edge(2));
    CATCH_FROM_CALL(qvStreetFinderDefs::UnboundImage, {
        std::vector<qvStreetMeasurement> measured;
        qfStreetMeasureCrosses(Image(), {}, qvStreetMeasureParams(), measured);
    });
    CATCH_FROM_CALL(qvStreetBlankRegionFinderDefs::BadParams,
                    qvStreetBlankRegionFinderParams(0, 110, 10, std::vector<double>(256, 1.0),
                                                    qvStreetBlankRegionFinderDefs::eHorizontal));
}

}  // namespace

int main() {
    everyClass();
    everyMistake();
    return failures == 0 ? 0 : 1;
}
