// Polarity test on the projections.
//
// In:  a line or a pair of lines (client frame) and the profile of its direction.
// Out: dark, light or undecided, and the mean grey level of the centre.
//
//     profile of direction d: the image collapsed along d, so a street is a narrow dip or bump
//
//     grey  ----------.          .----------
//                      \________/
//           [  left     c ]                       a line's sides reach from the line itself to two half-widths
//                       [ c     right  ]          beyond it, so the street's own half takes part in them
//                     [ ctr ]
//
// Means come from running sums, two subtractions each.
#include "qvstreet/projection/projection_polarity.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qvstreet/projection/projection_records.h"
#include "qvstreet/streetfinder/street_finder_impl.h"

namespace {

using Defs = qvStreetFinderDefs;

constexpr std::size_t kListReserve = 15;

double profilePosition(const qvXform<2>& profileFromClient, const qvVector<2>& point) {
    return (profileFromClient * point).x();
}

/// Ascending, NaN last.
void sortFour(std::array<double, 4>& values) {
    for (std::size_t i = 1; i < values.size(); ++i) {
        const double value = values[i];
        std::size_t place = i;
        for (; place > 0 && qf_ascending(value, values[place - 1]); --place) values[place] = values[place - 1];
        values[place] = value;
    }
}

/// The range cut to whole bins inside the profile.
qvPair<long> binRange(double from, double to, const qvTiledProjectionResult& projection) {
    return clampBinRange(qfTruncate(from), qfTruncate(to),
                         static_cast<long>(projection.tile(0, 0).checkedSums().size()));
}

/// Dark is "not at or above" and light is "above": for a NaN mean the first holds and the second does not.
Defs::streetPolarity verdict(double centre, double left, double right, double margin) {
    // deliberate: dark negates, light does not; pinned by ProjectionPolarity.NanMeansCountAsDark
    const bool dark = !(centre >= (1.0 - margin) * left) && !(centre >= (1.0 - margin) * right);
    if (dark) return Defs::eDarkOnLight;
    const bool light = centre > (1.0 + margin) * left && centre > (1.0 + margin) * right;
    return light ? Defs::eLightOnDark : Defs::eAnyPolarity;
}

}  // namespace

double profileDeviation(const qvTiledProjectionResult& projection) {
    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    const long bins = static_cast<long>(tile.checkedSums().size());
    return std::sqrt(rangeVariance(tile, qvPair<long>(0, bins - 1)));
}

qv_lineBins lineProfileBins(const qvLineFinderResults& line, double width, const qvXform<2>& clientTransform,
                            const qvTiledProjectionResult& projection) {
    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    const qvXform<2> imageFromClient = clientTransform.inverse();
    // deliberate: the inverse is applied before and after the turn; pinned by ProjectionPolarity.InverseIsAppliedTwice
    const qvRadian across =
        imageFromClient.mapAngle(qvDegree(imageFromClient.mapAngle(line.segment().line().angle())) + qvDegree(90.0));
    const qvVector<2> halfWidth(width * 0.5, across);

    const qvXform<2> profileFromClient = tile.clientFromProfile.inverse();
    const double c = (profilePosition(profileFromClient, line.segment().p1()) +
                      profilePosition(profileFromClient, line.segment().p2())) *
                     0.5;
    const double h = profileFromClient.mapVector(halfWidth).len();

    return {binRange(c - h * 0.5 - 1.0, c + h * 0.5, projection), binRange(c - h * 2.0 - 2.0, c, projection),
            binRange(c, c + h * 2.0 + 1.0, projection)};
}

Defs::streetPolarity linePolarity(const qvLineFinderResults& line, double width, double /*spareFraction*/,
                                  double margin, const qvXform<2>& clientTransform,
                                  const qvTiledProjectionResult& projection, double& centreMean) {
    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    const qv_lineBins bins = lineProfileBins(line, width, clientTransform, projection);
    const double left = rangeMean(tile, bins.left);
    const double right = rangeMean(tile, bins.right);
    centreMean = rangeMean(tile, bins.centre);
    return verdict(centreMean, left, right, margin);
}

const wchar_t* polarityText(Defs::streetPolarity verdict) {
    switch (verdict) {
        case Defs::eDarkOnLight:
            return L"dark  on light";
        case Defs::eLightOnDark:
            return L"light on dark";
        case Defs::eAnyPolarity:
            break;
    }
    return L"no pol";
}

void pairProfileRanges(const qvLineSeg& segment0, const qvLineSeg& segment1, const qvTiledProjectionResult& projection,
                       double centreMargin, double sideMargin, qvRange& centre, qvRange& left, qvRange& right) {
    const qvXform<2> profileFromClient = projection.tile(0, 0).clientFromProfile.inverse();
    std::array<double, 4> e = {
        profilePosition(profileFromClient, segment0.p1()), profilePosition(profileFromClient, segment0.p2()),
        profilePosition(profileFromClient, segment1.p1()), profilePosition(profileFromClient, segment1.p2())};
    sortFour(e);
    const double gap = std::fabs(e[1] - e[2]);
    const double m = centreMargin * gap;
    const double s = sideMargin * gap;
    centre = qvRange(e[1] + m, e[2] - m);
    left = qvRange(e[0] - s - m, e[1] - m);
    right = qvRange(e[2] + m, e[3] + m + s);
}

Defs::streetPolarity pairPolarity(const qvLineSeg& segment0, const qvLineSeg& segment1,
                                  const qvTiledProjectionResult& projection, double centreMargin, double sideMargin,
                                  double margin) {
    qvRange centre;
    qvRange left;
    qvRange right;
    pairProfileRanges(segment0, segment1, projection, centreMargin, sideMargin, centre, left, right);
    const qvTiledProjectionOneResult& tile = projection.tile(0, 0);
    const auto meanOf = [&](const qvRange& range) {
        return rangeMean(tile, binRange(range.start(), range.end(), projection));
    };
    return verdict(meanOf(centre), meanOf(left), meanOf(right), margin);
}

void classifyStreetLines(const qv_lineSets& lines, std::vector<std::vector<qvDIPair>>& lists,
                         const qvStreetFinderParams& params, const qv_streetFinderImpl& impl,
                         qvDiagObject* diagObject) {
    lists.resize(lines.size());
    for (std::vector<qvDIPair>& list : lists) list.clear();
    const qvPair<double> nominal = params.nominalStreetWidth();
    // deliberate: (second, first); pinned by ProjectionPolarity.ClassificationTakesTheWidthsCrossed
    const std::array<double, 2> widths = {nominal.second, nominal.first};
    const std::array<const qvTiledProjectionResult*, 2> projections = {&impl.projectionAlong0, &impl.projectionAlong1};
    const Defs::streetPolarity asked = params.streetPolarity();
    qf_assert(lines.size() <= widths.size(), L"lines of at most two directions");

    for (std::size_t direction = 0; direction < lines.size(); ++direction)
        for (std::size_t i = 0; i < lines[direction].size(); ++i) {
            double value = 0.0;
            if (asked != Defs::eAnyPolarity) {
                double centreMean = 0.0;
                const Defs::streetPolarity found =
                    linePolarity(lines[direction][i], widths[direction], qvLineSpareFraction, qvLineMargin,
                                 impl.clientFromImage, *projections[direction], centreMean);
                if (found != asked) continue;
                value = asked == Defs::eDarkOnLight ? centreMean : 255.0 - centreMean;
            }
            lists[direction].push_back({value, static_cast<long>(i)});
        }
    if (diagObject == nullptr) return;
    for (std::size_t direction = 0; direction < lines.size(); ++direction)
        recordLinePolarity(lines[direction], lists[direction], static_cast<long>(direction), widths[direction], asked,
                           impl.clientFromImage, *projections[direction], *diagObject);
}

void rankStreetLines(const qv_lineSets& lines, std::vector<qvDIJPair>& list, const qvStreetFinderParams& params,
                     const qv_streetFinderImpl& impl, qvDiagObject* diagObject) {
    std::vector<std::vector<qvDIPair>> lists;
    classifyStreetLines(lines, lists, params, impl, diagObject);
    list.clear();
    list.reserve(kListReserve);
    for (std::size_t direction = 0; direction < lists.size(); ++direction)
        for (const qvDIPair& entry : lists[direction])
            list.push_back({entry.value, static_cast<long>(direction), entry.index});
}
