// Ending the process on the frame's fatal paths.
#pragma once

namespace korb::frame {

// Flushes standard output and ends the process at once with `code`: no atexit handlers, no
// static destructors (the process is in a state where running more library code is unsafe).
[[noreturn]] void terminate_process(int code);

}  // namespace korb::frame
