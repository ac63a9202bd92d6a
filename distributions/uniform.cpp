// Continuous uniform on [a, b): the stream generator's own mapping, optionally clamped.
#include "distributions/frame.h"

namespace korb::dist {
namespace {

constexpr int kAccurate = BIX_RNG_METHOD_ACCURACY_FLAG;

template <class T>
int uniform(int method, BixStream *stream, int n, T *r, T a, T b) {
    const int status = uniforms(stream, n, r, a, b);
    if (status < 0) return status;
    // a + (b - a) * u may round up to b, or beyond it for a generator that does not guard it.
    if ((method & kAccurate) != 0 && n > 0) clamp(n, r, a, b);
    return status;
}

}  // namespace
}  // namespace korb::dist

KORB_DIST_ENTRY_POINTS(Uniform, uniform, a, b)
