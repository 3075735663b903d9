/// @file
/// All of the plane geometry.
#ifndef QVSTREET_PLATFORM_GEOMETRY_H
#define QVSTREET_PLATFORM_GEOMETRY_H

#include "qvstreet/platform/angle.h"
#include "qvstreet/platform/line.h"
#include "qvstreet/platform/pair.h"
#include "qvstreet/platform/rect.h"
#include "qvstreet/platform/vector.h"
#include "qvstreet/platform/xform.h"

#endif
