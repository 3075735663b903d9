/// @file
/// The frames that coordinates live in, and the conventions that hold in all of them. Nothing to call, only to look up.
///
/// Frames
/// ======
///
/// | Frame   | Unit                | Origin and axes                                                          |
/// |---------|---------------------|--------------------------------------------------------------------------|
/// | client  | the caller's choice | what the caller's transform makes of the image frame                     |
/// | image   | pels                | the pel grid of the bound buffer, offset included; x right, y down       |
/// | sample  | sample pels         | the square of 256 that the spectrum is taken of; not square in the image |
/// | profile | bins                | the bin axis of a projection; only x is used                             |
///
/// A column and row counted from the upper left pel of a buffer's window are no frame: adding the buffer's offset makes
/// image coordinates of them.
///
/// A pel
/// =====
///
/// The pel at column i, row j covers [i, i + 1) by [j, j + 1). Whole numbers are corners of pels, halves their centres.
/// This is the upper left of an image with offset (0, 0):
///
///     (0, 0)          (1, 0)          (2, 0)     x
///        o---------------o---------------o------->
///        |               |               |
///        |   pel (0, 0)  |   pel (1, 0)  |
///        |       +       |       +       |
///        |  (0.5, 0.5)   |  (1.5, 0.5)   |
///        |               |               |
///     (0, 1)-------------o---------------o
///        |               |
///        |   pel (0, 1)  |
///        |       +       |
///        |  (0.5, 1.5)   |
///        |               |
///     (0, 2)-------------o
///        |
///      y v
///
/// The same holds for samples and bins: sample i of a profile is centred at i + 0.5. A rectangle of pels is half open;
/// a window of width 4 at column 2 covers x from 2 up to but not including 6.
///
/// Angles
/// ======
///
/// Angles turn from +x towards +y. As y runs down in an image, a positive angle turns clockwise as seen:
///
///                 -90
///                  |
///       -135   \   |   /   -45
///                \ | /
///      180 --------+--------> 0   x
///                / | \                         .
///        135   /   |   \   45
///                  v
///                 90
///                  y
///
/// A transform may stretch x and y differently or mirror them, so the angle of a direction changes with the frame, and
/// so does the angle between two directions: each of them goes through `mapAngle` at every border between two frames.
///
/// Directions
/// ==========
///
/// A wafer has two street directions, and lists indexed by direction have two elements.
///
/// | Index | Streets                 | Line made from two points or by a fit runs towards |
/// |-------|-------------------------|----------------------------------------------------|
/// | 0     | nearer the horizontal   | growing x                                          |
/// | 1     | nearer the vertical     | shrinking y                                        |
///
/// Horizontal and vertical are meant in the image. The angle of such a line lies in [-135, 45) degrees; lines of other
/// making run otherwise, see line.h.
///
/// Transforms
/// ==========
///
/// A transform is named destination first: `clientFromImage` takes image coordinates and gives client ones. Names then
/// join like dominoes, `clientFromSample = clientFromImage * imageFromSample`, the right one being applied first, and
/// the inverse exchanges the two ends, `imageFromClient = clientFromImage.inverse()`.
///
/// | Transform           | Maps                                    | Where it comes from                          |
/// |---------------------|-----------------------------------------|----------------------------------------------|
/// | `clientFromImage`   | image coordinates to client coordinates | `clientFromImageXform()` of the bound buffer |
/// | `imageFromClient`   | client coordinates to image coordinates | its inverse                                  |
/// | `imageFromSample`   | sample coordinates to image coordinates | the sampling of the image into the square    |
/// | `clientFromProfile` | (bin index, 0) to client coordinates    | the projection; bin i is from i up to i + 1  |
///
/// `clientFromImage` belongs to one handle of an image. Renaming the image coordinates by another offset leaves it as
/// it is, so that the pels move in the client frame.
///
/// Numbers whose type does not say their frame and unit say it in their name: `widthClient`, `lengthPels`,
/// `angleDegrees`.
#ifndef QVSTREET_PLATFORM_FRAMES_H
#define QVSTREET_PLATFORM_FRAMES_H

#endif
