// Numbered messages of the tier, printed on standard output.
#pragma once

namespace qlm::frame {

// Message numbers this system prints.
enum message_number : int {
    msg_newline = 0,
    msg_cannot_load = 1,
    msg_cannot_load_either = 2,
    msg_cannot_bind = 3,
    msg_debug_cpu_type = 4,
    msg_library_not_convenient = 5,
    msg_bad_parameter = 6,
    msg_internal_condition = 7,
    msg_no_work_memory = 8,
    msg_incompatible_options = 9,
    msg_status_badsize = 735,
    msg_status_badmem = 736,
    msg_status_errdom = 737,
    msg_status_sing = 738,
    msg_status_overflow = 739,
    msg_status_underflow = 740,
    msg_status_unknown = 741,
    msg_one_arg_one_res = 742,   // 742, 743
    msg_one_arg_two_res = 744,   // 744 to 746
    msg_two_arg_one_res = 747,   // 747 to 749
    msg_two_arg_two_res = 750,   // 750 to 753
    msg_allocation_failed = 760,
    msg_fourier_status = 761,    // 761 + status, to 769
};

// Prints message `number`, formatted with `count` arguments, and a newline,
// then flushes every stream.  The channel has no effect.  A message longer
// than the 512-byte buffer ends the process with exit code 8.
void emit_message(int channel, int number, int count, ...);

// Catalogue text of a message, or null for a row this tier does not hold.
const char* catalogue_text(int number);

}  // namespace qlm::frame
