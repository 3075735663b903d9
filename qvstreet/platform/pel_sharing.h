/// @file
/// Who else shows the pels of a buffer, for those who want to fill one again in place of making a new one.
#ifndef QVSTREET_PLATFORM_PEL_SHARING_H
#define QVSTREET_PLATFORM_PEL_SHARING_H

#include "qvstreet/platform/pel_buffer.h"

/// How many handles show the pels, this one included; 0 for an unbound handle and for pels that a host keeps alive
/// itself. When the answer is the number of handles that the caller has, nobody else reads the pels any more.
long qf_pelHandles(const qv_PelBuffer& buffer);

/// Gets `buffer` ready to be filled: it stays as it is when it has the size and nobody but the `ownHandles` handles of
/// the caller shows its pels, and becomes a new image otherwise.
template <typename T>
void qf_provideOwnPels(qvPelBuffer<T>& buffer, long width, long height, long alignment, long ownHandles = 1) {
    const bool fits = buffer.isBound() && buffer.width() == width && buffer.height() == height;
    if (!fits || qf_pelHandles(buffer) > ownHandles) buffer = qvPelBuffer<T>(width, height, alignment);
}

#endif
