// korbMessage: numbered messages from a POSIX catalogue or the built-in table, on standard output.
//
// The catalogue "korb_msg" is opened once per process with catopen(NL_CAT_LOCALE), so NLSPATH and
// the locale choose the language; message n is entry n + 1 of set 1 (catalogue numbers start at
// 1). Missing catalogue or entry: the built-in text. A formatted message must fit the buffer of
// KORB_MSG_BUFFER_SIZE characters; a longer one is an internal error that ends the process.
// Catalogue texts longer than 1023 characters are not used (the built-in text is printed).
#include "message.h"

#include <nl_types.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "korb/kernel/frame.h"
#include "process.h"

namespace korb::frame {
namespace {

constexpr MessageRow kMessages[] = {
    {0, 4, "\n"},
    {1, 4, "KORB FATAL ERROR: Cannot load %s."},
    {2, 4, "KORB FATAL ERROR: Cannot load %s or %s."},
    {3, 2, "KORB FATAL ERROR on loading the function %s."},
    {4, 2, "KORB WARNING: KORB_DEBUG_CPU_TYPE=%d not convenient for this processor."},
    {5, 4,
     "KORB WARNING: library %s (KORB type %d) not convenient for this processor (KORB type %d)."},
    {6, 4, "KORB ERROR: Parameter %d was incorrect on entry to %s."},
    {7, 4, "KORB INTERNAL ERROR: Condition %d detected in function %s."},
    {8, 4, "KORB INTERNAL ERROR: Not enough work memory in function %s."},
    {9, 4, "KORB ERROR: Incompatible optional parameters on entry to %s."},
    {10, 4, "-------------------------------------------------------------------------------"},
    {760, 4, "KORB FATAL ERROR: memory allocation error."},
    {761, 4, "Error (ARQ_STATUS_BADSIZE) in %s: array size %d is not positive."},
    {762, 4, "Error (ARQ_STATUS_BADMEM) in %s: NULL pointer is passed."},
    {763, 4, "Error (ARQ_STATUS_ERRDOM) in %s: argument is out of domain."},
    {764, 4, "Error (ARQ_STATUS_SING) in %s: argument caused singularity."},
    {765, 4, "Error (ARQ_STATUS_OVERFLOW) in %s: argument caused overflow."},
    {766, 4, "Error (ARQ_STATUS_UNDERFLOW) in %s: argument caused underflow."},
    {767, 4, "Unknown error in %s."},
    {768, 4, "a(%d)=%g"},
    {769, 4, "b(%d)=%g"},
    {770, 4, "r(%d)=%g"},
    {771, 4, "y(%d)=%g"},
    {772, 4, "z(%d)=%g"},
};

nl_catd catalogue() {
    static const nl_catd cat = catopen("korb_msg", NL_CAT_LOCALE);
    return cat;
}

[[noreturn]] void buffer_overflow(int number, int length) {
    std::fputs("\nKORB INTERNAL ERROR: message buffer overflow.", stdout);
    std::printf("\n       Message N %d   Lenght: %d   Buffer size: %d\n", number, length,
                KORB_MSG_BUFFER_SIZE);
    terminate_process(8);
}

}  // namespace

const MessageRow *builtin_message(int number) {
    for (const MessageRow &row : kMessages) {
        if (row.number == number) return &row;
    }
    return nullptr;
}

const char *message_text(int number, char *scratch, std::size_t scratch_size) {
    nl_catd cat = catalogue();
    if (cat != reinterpret_cast<nl_catd>(-1) && number >= 0) {
        if (const char *t = catgets(cat, 1, number + 1, nullptr)) {
            std::size_t len = std::strlen(t);
            // A text that is nothing but a newline (message 0) keeps it.
            if (len > 1 && t[len - 1] == '\n') --len;
            if (len > 1 && t[len - 1] == '\r') --len;
            if (len < scratch_size) {
                std::memcpy(scratch, t, len);
                scratch[len] = '\0';
                return scratch;
            }
        }
    }
    const MessageRow *row = builtin_message(number);
    return row != nullptr ? row->text : "";
}

}  // namespace korb::frame

extern "C" void korbMessage(int /*kind*/, int number, int argCount, ...) {
    using namespace korb::frame;
    char text[1024];
    const char *format = message_text(number, text, sizeof text);
    const char *out = format;
    char buffer[KORB_MSG_BUFFER_SIZE + 1];
    if (argCount > 0) {
        va_list args;
        va_start(args, argCount);
        int len = std::vsnprintf(buffer, sizeof buffer, format, args);
        va_end(args);
        if (len > KORB_MSG_BUFFER_SIZE) buffer_overflow(number, len);
        if (len >= 0) out = buffer;
    }
    char newline[16];
    std::fputs(out, stdout);
    std::fputs(message_text(KORB_MSG_NEWLINE, newline, sizeof newline), stdout);
    std::fflush(stdout);
}
