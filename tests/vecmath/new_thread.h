// Running test code in a thread of its own, which starts with no vector-math state.
#pragma once

#include <optional>
#include <thread>
#include <type_traits>

namespace korb::test {

// Runs f in a new thread, waits for it to end and returns what f returned.
template <class F>
auto in_new_thread(F f) {
    using R = std::invoke_result_t<F>;
    if constexpr (std::is_void_v<R>) {
        std::thread(f).join();
    } else {
        std::optional<R> result;
        std::thread([&] { result.emplace(f()); }).join();
        return *result;
    }
}

}  // namespace korb::test
