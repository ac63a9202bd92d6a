// The four error dispatchers, one template over the element type.
#include "dispatch.h"

#include <cerrno>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "korb/kernel/frame.h"
#include "mode.h"

namespace korb::vecmath {

// The record is shared with user code: fields in order, natural alignment, no surprises.
static_assert(offsetof(ArqErrorContext, code) == 0);
static_assert(offsetof(ArqErrorContext, index) == 4);
static_assert(offsetof(ArqErrorContext, a1) == 8);
static_assert(offsetof(ArqErrorContext, a2) == 16);
static_assert(offsetof(ArqErrorContext, r1) == 24);
static_assert(offsetof(ArqErrorContext, r2) == 32);
static_assert(offsetof(ArqErrorContext, name) == 40);
static_assert(sizeof(ArqErrorContext::name) == 64);
static_assert(offsetof(ArqErrorContext, name_len) == 104);
static_assert(offsetof(ArqErrorContext, a1_im) == 112);
static_assert(offsetof(ArqErrorContext, a2_im) == 120);
static_assert(offsetof(ArqErrorContext, r1_im) == 128);
static_assert(offsetof(ArqErrorContext, r2_im) == 136);
static_assert(sizeof(ArqErrorContext) == 144);

namespace {

constexpr std::size_t kNameCapacity = sizeof(ArqErrorContext::name);

// Error-mode bits that enable the callback, and those that enable the other channels.
constexpr std::uint32_t kCallbackBits = 0xF000;
constexpr std::uint32_t kChannelBits = 0x0F00;

constexpr int kNoMessage = -1;

// What a status means for the errno and message channels. errno takes the C library's own
// thread-local errno: these values are the ones the status table fixes (EINVAL 22, EACCES 13,
// EDOM 33, ERANGE 34, EFAULT 14 on Linux).
struct StatusRow {
    int status;
    int message;
    int error_number;
};

constexpr StatusRow kStatusRows[] = {
    {ARQ_STATUS_OK, kNoMessage, 0},
    {ARQ_STATUS_BADSIZE, KORB_MSG_ARQ_BADSIZE, EINVAL},
    {ARQ_STATUS_BADMEM, KORB_MSG_ARQ_BADMEM, EACCES},
    {ARQ_STATUS_ERRDOM, KORB_MSG_ARQ_ERRDOM, EDOM},
    {ARQ_STATUS_SING, KORB_MSG_ARQ_SING, ERANGE},
    {ARQ_STATUS_OVERFLOW, KORB_MSG_ARQ_OVERFLOW, ERANGE},
    {ARQ_STATUS_UNDERFLOW, KORB_MSG_ARQ_UNDERFLOW, ERANGE},
};
constexpr StatusRow kUnknownStatus = {0, KORB_MSG_ARQ_UNKNOWN, EFAULT};

const StatusRow &status_row(int status) {
    for (const StatusRow &row : kStatusRows) {
        if (row.status == status) return row;
    }
    return kUnknownStatus;
}

// BADSIZE and BADMEM come from the calling layer, not from an element: they carry a size (or
// nothing) in the index, and the vectors are neither read nor written.
bool names_an_element(int status) {
    return status != ARQ_STATUS_BADSIZE && status != ARQ_STATUS_BADMEM;
}

// The element's position counted from the caller's whole vector: the distance of the kernel's
// argument vector from the registered base, in elements, plus the kernel's own index.
int shifted_index(int index, const void *piece, const void *base, std::size_t element_size) {
    const std::intptr_t bytes =
        reinterpret_cast<std::intptr_t>(piece) - reinterpret_cast<std::intptr_t>(base);
    return static_cast<int>(index + bytes / static_cast<std::intptr_t>(element_size));
}

// Copies at most 64 characters of name into the record's field (NUL-terminated when shorter)
// and into `printable` (always NUL-terminated, for the message channel). Returns the count.
int copy_name(const char *name, ArqErrorContext &c, char (&printable)[kNameCapacity + 1]) {
    const std::size_t len = name == nullptr ? 0 : strnlen(name, kNameCapacity);
    if (len > 0) {
        std::memcpy(c.name, name, len);
        std::memcpy(printable, name, len);
    }
    if (len < kNameCapacity) c.name[len] = '\0';
    printable[len] = '\0';
    return static_cast<int>(len);
}

// Reading an element into the record (widened) and writing it back (narrowed).
void read_element(float v, double &re, double &) {
    re = v;
}
void read_element(double v, double &re, double &) {
    re = v;
}
template <class T>
void read_element(const Complex<T> &v, double &re, double &im) {
    re = v.re;
    im = v.im;
}
void write_element(float &v, double re, double) {
    v = static_cast<float>(re);
}
void write_element(double &v, double re, double) {
    v = re;
}
template <class T>
void write_element(Complex<T> &v, double re, double im) {
    v.re = static_cast<T>(re);
    v.im = static_cast<T>(im);
}

void print_value(int message, int index, double value) {
    korbMessage(4, message, 2, index, value);
}

// The status line, then the element's values (real parts only): the second argument only when
// it differs from the first and is not 0, the results as r alone when there is one, else as y
// and z. The comparisons are floating-point ones, so a NaN never equals anything.
void print_report(const ArqErrorContext &c, const char *name) {
    const int message = status_row(c.code).message;
    if (message == kNoMessage) return;
    if (c.code == ARQ_STATUS_BADSIZE) {
        korbMessage(4, message, 2, name, c.index);
        return;
    }
    korbMessage(4, message, 1, name);
    if (!names_an_element(c.code)) return;
    const bool one_argument = c.a1 == c.a2 || c.a2 == 0.0;
    const bool one_result = c.r1 == c.r2 || c.r2 == 0.0;
    print_value(KORB_MSG_ARQ_VALUE_A, c.index, c.a1);
    if (!one_argument) print_value(KORB_MSG_ARQ_VALUE_B, c.index, c.a2);
    if (one_argument && one_result) {
        print_value(KORB_MSG_ARQ_VALUE_R, c.index, c.r1);
        return;
    }
    print_value(KORB_MSG_ARQ_VALUE_Y, c.index, c.r1);
    if (!one_result) print_value(KORB_MSG_ARQ_VALUE_Z, c.index, c.r2);
}

// One double operation whose floating-point exception matches the status. It traps only when
// the caller unmasked that exception; otherwise it sets the flag. The operands are volatile so
// that the compiler cannot fold the operation away.
void raise_exception(int status) {
    struct Operation {
        double x;
        double y;
        bool divide;
    };
    Operation op;
    switch (status) {
        case ARQ_STATUS_ERRDOM:
            op = {0.0, 0.0, true};  // invalid
            break;
        case ARQ_STATUS_SING:
            op = {1.0, 0.0, true};  // division by zero
            break;
        case ARQ_STATUS_OVERFLOW:
            op = {DBL_MAX, DBL_MAX, false};  // largest double squared
            break;
        case ARQ_STATUS_UNDERFLOW:
            op = {DBL_MIN, DBL_MIN, false};  // smallest normal double squared
            break;
        default:
            return;
    }
    volatile double x = op.x;
    volatile double y = op.y;
    volatile double result = op.divide ? x / y : x * y;
    (void)result;
}

// `args`, when given, holds the element's two arguments in place of a[index] and b[index]. The
// arguments and results may be of different types (a complex function of a real argument, or
// with a real result); the index is shifted in elements of the argument vector.
template <class Elem, class Result = Elem>
void dispatch(int status, int index, const Elem *a, const Elem *b, Result *r1, Result *r2,
              const char *name, const Elem *args = nullptr) {
    ThreadState &state = thread_state();
    state.status = status;
    const std::uint32_t mode = current_mode(state);
    if ((mode & ARQ_ERRMODE_MASK) == ARQ_ERRMODE_IGNORE) return;

    const bool element = names_an_element(status);
    ArqErrorContext c{};
    c.code = status;
    c.index = index;
    if (element && state.vector_base != nullptr) {
        c.index = shifted_index(index, a, state.vector_base, sizeof(Elem));
    }
    char printable[kNameCapacity + 1];
    c.name_len = copy_name(name, c, printable);
    // The values are those of the element at the kernel's own index, whatever the shift.
    if (element) {
        read_element(args != nullptr ? args[0] : a[index], c.a1, c.a1_im);
        read_element(args != nullptr ? args[1] : b[index], c.a2, c.a2_im);
        read_element(r1[index], c.r1, c.r1_im);
        read_element(r2[index], c.r2, c.r2_im);
    }

    if ((mode & kCallbackBits) != 0 && state.callback != nullptr && state.callback(&c) != 0) {
        return;
    }
    if ((mode & kChannelBits) != 0) {
        if ((mode & ARQ_ERRMODE_ERRNO) != 0) errno = status_row(status).error_number;
        if ((mode & ARQ_ERRMODE_STDERR) != 0) print_report(c, printable);
        if ((mode & ARQ_ERRMODE_EXCEPT) != 0) raise_exception(status);
    }
    // r2 first, so that a one-result kernel (r1 == r2) keeps r1.
    if (element) {
        write_element(r2[index], c.r2, c.r2_im);
        write_element(r1[index], c.r1, c.r1_im);
    }
}

}  // namespace

void dispatch_error_s(int status, int index, const float *a, const float *b, float *r1, float *r2,
                      const char *name) {
    dispatch(status, index, a, b, r1, r2, name);
}

void dispatch_error_d(int status, int index, const double *a, const double *b, double *r1,
                      double *r2, const char *name) {
    dispatch(status, index, a, b, r1, r2, name);
}

void dispatch_error_d_in_place(int status, int index, const double *a, const double *b, double *r1,
                               double *r2, const char *name, double a1, double a2) {
    const double args[2] = {a1, a2};
    dispatch(status, index, a, b, r1, r2, name, args);
}

void dispatch_error_s_in_place(int status, int index, const float *a, const float *b, float *r1,
                               float *r2, const char *name, float a1, float a2) {
    const float args[2] = {a1, a2};
    dispatch(status, index, a, b, r1, r2, name, args);
}

void dispatch_error_c(int status, int index, const ComplexFloat *a, const ComplexFloat *b,
                      ComplexFloat *r1, ComplexFloat *r2, const char *name) {
    dispatch(status, index, a, b, r1, r2, name);
}

void dispatch_error_z(int status, int index, const ComplexDouble *a, const ComplexDouble *b,
                      ComplexDouble *r1, ComplexDouble *r2, const char *name) {
    dispatch(status, index, a, b, r1, r2, name);
}

void dispatch_error_c_in_place(int status, int index, const ComplexFloat *a, const ComplexFloat *b,
                               ComplexFloat *r1, ComplexFloat *r2, const char *name,
                               ComplexFloat a1, ComplexFloat a2) {
    const ComplexFloat args[2] = {a1, a2};
    dispatch(status, index, a, b, r1, r2, name, args);
}

void dispatch_error_z_in_place(int status, int index, const ComplexDouble *a,
                               const ComplexDouble *b, ComplexDouble *r1, ComplexDouble *r2,
                               const char *name, ComplexDouble a1, ComplexDouble a2) {
    const ComplexDouble args[2] = {a1, a2};
    dispatch(status, index, a, b, r1, r2, name, args);
}

void dispatch_error_c_to_real(int status, int index, const ComplexFloat *a, float *r,
                              const char *name, ComplexFloat a1) {
    const ComplexFloat args[2] = {a1, a1};
    dispatch(status, index, a, a, r, r, name, args);
}

void dispatch_error_z_to_real(int status, int index, const ComplexDouble *a, double *r,
                              const char *name, ComplexDouble a1) {
    const ComplexDouble args[2] = {a1, a1};
    dispatch(status, index, a, a, r, r, name, args);
}

void dispatch_error_c_from_real(int status, int index, const float *a, ComplexFloat *r,
                                const char *name, float a1) {
    const float args[2] = {a1, a1};
    dispatch(status, index, a, a, r, r, name, args);
}

void dispatch_error_z_from_real(int status, int index, const double *a, ComplexDouble *r,
                                const char *name, double a1) {
    const double args[2] = {a1, a1};
    dispatch(status, index, a, a, r, r, name, args);
}

}  // namespace korb::vecmath

// A call refused by the dispatching layer carries no element: the dispatcher neither reads nor
// writes the vectors of BADSIZE and BADMEM, so any element type serves.
extern "C" void korb_arq_kernel_ReportArgumentError(int status, int value, const char *name) {
    if (status != ARQ_STATUS_BADSIZE && status != ARQ_STATUS_BADMEM) return;
    korb::vecmath::dispatch_error_d(status, status == ARQ_STATUS_BADSIZE ? value : 0, nullptr,
                                    nullptr, nullptr, nullptr, name);
}
