#ifndef RK_SLAB_H
#define RK_SLAB_H

#include <algorithm>

namespace Rk {

/// One axis of a segment against a box: narrows [`enter`, `leave`], a range
/// of the parameter t of the points start + t * direction, to where their
/// coordinate on that axis lies within [`low`, `high`]. `inverse` is
/// 1 / `direction`, taken once per segment by the caller; a zero direction
/// keeps the whole range when `start` lies within the bounds and empties it
/// otherwise. Returns false when nothing is left. NaN coordinates leave the
/// range as it is (nothing can be ruled out).
inline bool clipToSlab(double start, double direction, double inverse, double low, double high,
                       double& enter, double& leave)
{
    if (direction == 0.0)
        return !(start < low || start > high);
    double t0 = (low - start) * inverse;
    double t1 = (high - start) * inverse;
    if (t0 > t1)
        std::swap(t0, t1);
    enter = std::max(enter, t0);
    leave = std::min(leave, t1);
    return !(enter > leave);
}

} // namespace Rk

#endif
