// The mode word's exact restoration, for the brackets of the distribution kernels.
#include "distributions/frame.h"

#include "vecmath/mode.h"

namespace korb::dist {

void restore_vm_mode(unsigned int mode) {
    vecmath::thread_state().mode = mode;
}

}  // namespace korb::dist
