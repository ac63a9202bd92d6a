// Fuzz target: loading a stream image from a file.
//
// Whatever the bytes, a load must not read past them or crash, and deleting what it made must
// give back every block and every shared-table reference. An image it accepts must be one its own
// saver reproduces at the size __bixGetStreamSize reports, and that image must load again from
// memory to a stream of the same size.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "korb/kernel/rng.h"
#include "korb_core.h"
#include "rng/stream.h"

namespace {

// The bytes go to an in-memory regular file, named through /proc so that the loader opens it
// by name as any caller would.
int g_fd = -1;
std::string g_path;

void require(bool ok) {
    if (!ok) __builtin_trap();
}

void check_accepted(BixStream *loaded, size_t input_size) {
    const int size = __bixGetStreamSize(loaded);
    require(size >= 20 && static_cast<size_t>(size) <= input_size);
    std::vector<char> image(static_cast<size_t>(size));
    require(__bixSaveStreamM(loaded, image.data()) == BIX_ERROR_OK);
    BixStream *again = nullptr;
    const int status = __bixLoadStreamM(&again, image.data());
    require(status == BIX_ERROR_OK || status == BIX_ERROR_NONDETERM_NOT_SUPPORTED);
    require(__bixGetStreamSize(again) == size);
    __bixDeleteStream(&again);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    g_fd = memfd_create("korb-stream-image", 0);
    require(g_fd >= 0);
    g_path = "/proc/self/fd/" + std::to_string(g_fd);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    require(ftruncate(g_fd, 0) == 0);
    require(size == 0 || pwrite(g_fd, data, size, 0) == static_cast<ssize_t>(size));
    const long live = korb_serv_live_blocks();
    BixStream *stream = nullptr;
    const int status = __bixLoadStreamF(&stream, g_path.c_str(), -1);
    if (status == BIX_ERROR_OK) check_accepted(stream, size);
    __bixDeleteStream(&stream);
    require(korb::rng::shared_table_count() == 0 && korb_serv_live_blocks() == live);
    return 0;
}
