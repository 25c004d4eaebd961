// The message catalogue and its printer.
//
// The catalogue is shared with sibling components; this tier carries only
// the rows it prints.  A message's final text is used as a format string
// once more at printing, so a percent sign that survives the first
// formatting is formatted again; that is kept on purpose.
#include "frame/messages.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace qlm::frame {
namespace {

struct catalogue_row {
    int number;
    int level;  // 1 empty line, 2 warning or note, 4 error
    const char* text;
};

constexpr catalogue_row catalogue[] = {
    {0, 1, "\n"},
    {1, 4, "QLM FATAL ERROR: Cannot load %s"},
    {2, 4, "QLM FATAL ERROR: Cannot load neither %s nor %s"},
    {3, 4, "QLM FATAL ERROR on load the function %s"},
    {4, 2, "QLM WARNING: QLM_DEBUG_CPU_TYPE=%d not convenient for this processor."},
    {5, 2, "QLM WARNING: library %s (QLM type %d) not convenient for this processor (QLM type %d)."},
    {6, 4, "QLM ERROR: Parameter %d was incorrect on entry to %s"},
    {7, 4, "QLM INTERNAL ERROR: Condition %d detected in function %s"},
    {8, 4, "QLM INTERNAL ERROR: Not enough work memory in function %s"},
    {9, 4, "QLM ERROR: Incompatible optional parameters on entry to %s"},
    {735, 4, "Error (VXM_STATUS_BADSIZE) in %s: array size %d is not positive."},
    {736, 4, "Error (VXM_STATUS_BADMEM) in %s: NULL pointer is passed."},
    {737, 4, "Error (VXM_STATUS_ERRDOM) in %s: argument is out of domain."},
    {738, 4, "Error (VXM_STATUS_SING) in %s: argument caused singularity."},
    {739, 4, "Error (VXM_STATUS_OVERFLOW) in %s: argument caused overflow."},
    {740, 4, "Error (VXM_STATUS_UNDERFLOW) in %s: argument caused underflow."},
    {741, 4, "Unknown error in %s."},
    {742, 2, "a(%d)=%g"},
    {743, 2, "r(%d)=%g"},
    {744, 2, "a(%d)=%g"},
    {745, 2, "y(%d)=%g"},
    {746, 2, "z(%d)=%g"},
    {747, 2, "a(%d)=%g"},
    {748, 2, "b(%d)=%g"},
    {749, 2, "y(%d)=%g"},
    {750, 2, "a(%d)=%g"},
    {751, 2, "b(%d)=%g"},
    {752, 2, "y(%d)=%g"},
    {753, 2, "z(%d)=%g"},
    {760, 4, "QLM FATAL ERROR: memory allocation error."},
    {761, 4, "Fourier descriptor: no error"},
    {762, 4, "Fourier descriptor: memory allocation failed"},
    {763, 4, "Fourier descriptor: invalid configuration parameter"},
    {764, 4, "Fourier descriptor: inconsistent configuration parameters"},
    {765, 4, "Fourier descriptor: computation failed"},
    {766, 4, "Fourier descriptor: bad descriptor"},
    {767, 4, "Fourier descriptor: functionality not implemented"},
    {768, 4, "Fourier descriptor: internal error"},
    {769, 4, "Fourier descriptor: unknown error"},
};

constexpr int kBufferSize = 512;
char format_buffer[kBufferSize];

}  // namespace

const char* catalogue_text(int number) {
    for (const catalogue_row& row : catalogue)
        if (row.number == number) return row.text;
    return nullptr;
}

const char* message_module_text(int number);  // message_module.cpp

void emit_message(int /*channel*/, int number, int count, ...) {
    if (number == msg_newline) {
        std::fputs("\n", stdout);
        std::fflush(stdout);
        return;
    }
    const char* text = message_module_text(number);
    if (text == nullptr) text = catalogue_text(number);
    if (text == nullptr) text = "";

    const char* result = text;
    int length = 0;
    if (count > 0) {
        va_list args;
        va_start(args, count);
        length = std::vsnprintf(format_buffer, kBufferSize, text, args);
        va_end(args);
        result = format_buffer;
    } else {
        for (const char* p = text; *p != '\0'; ++p) ++length;
    }
    if (length - 1 > kBufferSize) {
        std::fputs("\nQLM INTERNAL ERROR: message buffer overflow.", stdout);
        std::fflush(stdout);
        std::printf("\n       Message N %d   Lenght: %d   Buffer size: %d\n", number, length - 1,
                    kBufferSize);
        std::fflush(stdout);
        std::exit(8);
    }
    // The final text is printed as a format string once more.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    std::printf(result);
#pragma GCC diagnostic pop
    std::fputs("\n", stdout);
    std::fflush(nullptr);
}

}  // namespace qlm::frame
