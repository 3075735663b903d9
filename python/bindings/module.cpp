// The compiled half of the Python package: what needs the library, in plain numbers, tuples and texts. Names for people,
// defaults and result classes are in the Python half, which checks nothing that is checked here.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/bindings/errors.h"
#include "python/bindings/image_view.h"
#include "python/bindings/locked_finder.h"
#include "python/bindings/result_tuples.h"
#include "qvstreet/qvstreet.h"

namespace py = pybind11;

namespace {

using Numbers = std::pair<double, double>;

// The finder counts the samples of a side in 16 bits with a sign. Beyond twice that the count would wrap to a small one,
// and an image full of streets would seem to have none.
constexpr long kMaxSearchedSide = 32767;

qvPair<double> pairOf(const Numbers& numbers) { return qvPair<double>(numbers.first, numbers.second); }
/// None, or (reach, least contrast).
std::optional<MeasureSettings> settingsOf(const std::optional<Numbers>& measure) {
    if (!measure) return std::nullopt;
    return MeasureSettings{measure->first, measure->second};
}

qvStreetFinderParams paramsOf(int mode, const Numbers& width, const Numbers& rangeX, const Numbers& rangeY,
                              double sharpness, int polarity, long maxResults) {
    return qvStreetFinderParams(pairOf(width), pairOf(rangeX), pairOf(rangeY),
                                static_cast<qvStreetFinderDefs::waferType>(mode), sharpness,
                                static_cast<qvStreetFinderDefs::streetPolarity>(polarity), maxResults);
}

/// What the library keeps of the parameters.
py::tuple checkedParams(int mode, const Numbers& width, const Numbers& rangeX, const Numbers& rangeY, double sharpness,
                        int polarity, long maxResults) {
    const qvStreetFinderParams kept = paramsOf(mode, width, rangeX, rangeY, sharpness, polarity, maxResults);
    return py::make_tuple(tupleOf(kept.nominalStreetWidth()), tupleOf(kept.nominalStreetWidthRangeX()),
                          tupleOf(kept.nominalStreetWidthRangeY()), kept.edgeSharpness(), kept.maxResults());
}

void setImage(LockedFinder& finder, const py::object& image, std::pair<long, long> offset,
              const std::optional<std::array<double, 6>>& client) {
    qvPelBuffer_const<unsigned char> view = imageView(image, "image");
    if (view.width() > kMaxSearchedSide || view.height() > kMaxSearchedSide) {
        throw py::value_error("image has shape (" + std::to_string(view.height()) + ", " +
                              std::to_string(view.width()) + "); the finder takes sides of up to " +
                              std::to_string(kMaxSearchedSide) + " pels");
    }
    view.offset(offset.first, offset.second);
    if (client) {
        const std::array<double, 6>& c = *client;
        view.clientFromImageXform(qvXform<2>(qvMatrix<2>(c[0], c[1], c[2], c[3]), qvVector<2>(c[4], c[5])));
    }
    finder.setImage(view);
}

py::list findBlankRegions(const py::object& image, const py::object& mask, long streetWidth, long minLength,
                          long maxResults, const std::vector<double>& greyWeights, int direction,
                          std::pair<long, long> offset) {
    const qvStreetBlankRegionFinderParams params(
        streetWidth, minLength, maxResults, greyWeights,
        static_cast<qvStreetBlankRegionFinderDefs::streetDirection>(direction));
    qvPelBuffer_const<unsigned char> view = imageView(image, "image");
    view.offset(offset.first, offset.second);
    qvPelBuffer_const<unsigned char> allowed;
    if (!mask.is_none()) {
        allowed = imageView(mask, "mask");
        allowed.offset(offset.first, offset.second);
    }
    qvStreetBlankRegionFinderResultSet answer;
    {
        const py::gil_scoped_release others;
        if (allowed.isBound()) {
            qfStreetBlankRegionFinderRun(view, allowed, params, answer, nullptr, 0);
        } else {
            qfStreetBlankRegionFinderRun(view, params, answer, nullptr, 0);
        }
    }
    return listOf(answer.results());
}

}  // namespace

PYBIND11_MODULE(_qvstreet, module) {
    module.doc() = "The compiled half of qvstreet; use the package.";
    module.attr("__version__") = QVSTREET_VERSION;
    module.attr("RUN_MODES") = py::dict(py::arg("edge") = static_cast<int>(qvStreetFinderDefs::eEdgePairWafer),
                                        py::arg("ridge") = static_cast<int>(qvStreetFinderDefs::eRidgeWafer),
                                        py::arg("coarse") = static_cast<int>(qvStreetFinderDefs::eCoarseRidgeWafer));
    module.attr("POLARITIES") = py::dict(py::arg("any") = static_cast<int>(qvStreetFinderDefs::eAnyPolarity),
                                         py::arg("dark") = static_cast<int>(qvStreetFinderDefs::eDarkOnLight),
                                         py::arg("light") = static_cast<int>(qvStreetFinderDefs::eLightOnDark));
    module.attr("DIRECTIONS") = py::dict(py::arg("h") = static_cast<int>(qvStreetBlankRegionFinderDefs::eHorizontal),
                                         py::arg("v") = static_cast<int>(qvStreetBlankRegionFinderDefs::eVertical));
    module.attr("MEASURE_REASONS") = measureReasons();
    registerErrors();

    module.def("checked_params", &checkedParams, "Parameters of a street finder as it keeps them.", py::arg("mode"),
               py::arg("width"), py::arg("range_x"), py::arg("range_y"), py::arg("sharpness"), py::arg("polarity"),
               py::arg("max_results"));
    module.def("find_blank_regions", &findBlankRegions, "Blank regions as (x, y, width, height, score, blankness).",
               py::arg("image"), py::arg("mask"), py::arg("street_width"), py::arg("min_length"),
               py::arg("max_results"), py::arg("grey_weights"), py::arg("direction"), py::arg("offset"));
    module.def("raise_error", &throwError, "Raises the error of that C++ name, to see what becomes of it.",
               py::arg("name"));

    py::class_<LockedFinder>(module, "Finder", "A street finder that gives plain tuples.")
        .def(py::init([](int mode, const Numbers& width, const Numbers& rangeX, const Numbers& rangeY, double sharpness,
                         int polarity, long maxResults) {
                 return std::make_unique<LockedFinder>(
                     paramsOf(mode, width, rangeX, rangeY, sharpness, polarity, maxResults));
             }),
             py::arg("mode"), py::arg("width"), py::arg("range_x"), py::arg("range_y"), py::arg("sharpness"),
             py::arg("polarity"), py::arg("max_results"))
        .def("set_image", &setImage, "Binds an image without a copy.", py::arg("image"), py::arg("offset"),
             py::arg("client_transform"))
        .def(
            "find",
            [](LockedFinder& finder, const std::optional<Numbers>& measure) {
                return listOf(finder.find(settingsOf(measure)));
            },
            "Crossings, measured with (reach, least contrast) unless that is None.", py::arg("measure"))
        .def(
            "find_single_streets",
            [](LockedFinder& finder, const std::optional<Numbers>& measure) {
                return listOf(finder.findSingleStreet(settingsOf(measure)));
            },
            "Streets, measured likewise.", py::arg("measure"))
        .def(
            "angles", [](LockedFinder& finder, long count) { return listOf(finder.angles(count)); },
            "Angles as (degrees, score).", py::arg("max_results"));
}
