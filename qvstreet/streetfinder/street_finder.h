/// @file
/// The street finder.
#ifndef QVSTREET_STREETFINDER_STREET_FINDER_H
#define QVSTREET_STREETFINDER_STREET_FINDER_H

#include <memory>
#include <string>
#include <vector>

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/export.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/platform/pel_buffer.h"
#include "qvstreet/streetfinder/street_finder_defs.h"
#include "qvstreet/streetfinder/street_finder_params.h"
#include "qvstreet/streetfinder/street_results.h"

struct qv_streetFinderImpl;

/// Finds streets and their crossings in 8-bit grey images of wafers.
///
///     qvStreetFinder finder(params);
///     finder.setImage(image);            // all the work that depends on the image alone
///     finder.find(crossings);            // any number of times, cheap
///     finder.findSingleStreet(streets);
///
/// All results are in the client frame of the image, angles in radians of that frame. A finder starts no thread and
/// takes no lock: one thread at a time may use it, separate finders share nothing.
class QV_EXPORT qvStreetFinder {
 public:
    /// A finder for one kind of wafer; the parameters are copied and fixed from then on.
    qvStreetFinder(const qvStreetFinderParams& params = qvStreetFinderParams());
    virtual ~qvStreetFinder();

    /// The run parameters.
    const qvStreetFinderParams& runParams() const;

    /// Binds an image and works out its spectrum, street directions, projections and lines. The image's pels are
    /// shared, not copied, and must stay unchanged until the next `setImage`.
    /// @throws qvStreetFinderDefs::UnboundImage "Image is unbound."
    /// @throws qvStreetFinderDefs::BadParams "Image rotation greater then 5 degree": the client transform is rotated by
    ///         more than 5.0 degrees, or mirrored in x. After these two nothing has changed, and an image bound before
    ///         stays usable.
    /// @throws qvPel::BadSize, qvMatrixErr::Singular for sizes and client transforms that cannot be sampled, and for the
    ///         rare content whose two directions leave no room between them; until the next good image the searches then
    ///         find nothing
    void setImage(const qvPelBuffer_const<unsigned char>& image);

    /// Finds street crossings, best first, at most `maxResults`. Finding none is no failure. Pass an empty vector: in
    /// the edge pair mode what it holds counts towards `maxResults` and stays ahead of the new crossings, which keep
    /// their distance from it; in the ridge modes it is replaced.
    /// @throws qvStreetFinderDefs::UnboundImage "Unbound Image::need to call setImage"
    /// @throws qvPel::BadSize in `eRidgeWafer` for a nominal width of about 1365 client units and more: its calipers would
    ///         take more samples than 16 bits count
    /// @throws qvMatrixErr::Singular where a double cannot tell neighbouring pels apart in the client frame, say at 2.6e-5
    ///         units per pel and 6e11 units from the origin
    void find(std::vector<qvStreetFinderStreetCrossResult>& results);

    /// Finds single streets, best first, at most `maxResults`. Replaces `results`.
    /// @throws qvStreetFinderDefs::UnboundImage "Unbound Image::need to call setImage"
    /// @throws qvInvariantFailure for a run mode that has no name
    /// @throws qvMatrixErr::Singular as `find`
    void findSingleStreet(std::vector<qvStreetFinderSingleStreetResult>& results);

    /// The candidate street angles of the bound image, best first, at most `cnt`; none of them folded or paired.
    /// @throws qvStreetFinderDefs::BadParams "cnt must be positive."
    /// @throws qvStreetFinderDefs::UnboundImage "Need to call setImage."
    void getAngles(long cnt, std::vector<qvRadian>& angles);

 protected:
    /// Number of lines of both directions; 0 before the first `setImage`.
    long getLineCount() const;
    /// The ends, client frame, of one line. The lines of direction 0 come first, those of direction 1 behind them.
    /// @throws qvStreetFinderDefs::BadParams " invalid line index" for a negative index and one above `getLineCount()`
    /// @throws std::out_of_range for the index that is the number of lines of direction 0, so that the first line of
    ///         direction 1 cannot be asked for, and for `getLineCount()` itself
    qvPair<double> getStartPoint(long index) const;
    qvPair<double> getEndPoint(long index) const;

    /// Switches the trace: plain text about every candidate that `find` weighs in the edge pair mode, for those who
    /// develop the finder. It changes no result. "DP " and a path (the third character may be any) switch it on, into
    /// the file of that name and ".trace", which is emptied; from then on every `find` appends to it. "DO" switches it
    /// off. Everything else is ignored, and so is a file that cannot be written: nothing is traced then. Each character
    /// of the path counts as one byte.
    /// @throws std::out_of_range for "DP" alone; the trace is on then, into the file it had before, if any
    void customize(const std::wstring& option);

 private:
    friend struct qv_streetFinderAccess;

    qvStreetFinder(const qvStreetFinder& other);
    qvStreetFinder& operator=(const qvStreetFinder& other);

    qvStreetFinderParams runParams_;
    /// Never null in a finished object.
    std::unique_ptr<qv_streetFinderImpl> impl_;
};

#endif
