// Internal view of the summary-statistics task shared by the editors and the estimators.
#pragma once

#include <cstdint>
#include <cstring>

#include "korb/kernel/ss.h"

namespace korb::stats {

// An integer the task points at, read at the task's width.
inline int64_t read_int(const BixSSTask *task, const void *p) {
    if (task->int_width != 0) {
        int64_t v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Element i of an integer array the task points at.
inline int64_t read_int(const BixSSTask *task, const void *p, int64_t i) {
    const auto *bytes = static_cast<const unsigned char *>(p);
    return read_int(task, bytes + i * (task->int_width != 0 ? 8 : 4));
}

}  // namespace korb::stats
