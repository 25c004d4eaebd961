// Loading of the companion libraries: the kernel tier chosen for the
// processor, the core library and the threading layer.  Every failure
// ends the process with exit code 1 after a catalogue message.
#pragma once

namespace qlm::frame {

enum class library { tier, core, thread_layer };

// Selects and loads the tier once per process; later calls return at once.
// Returns the selected tier, the loaded library's own type number.
int load_tier();

// Handles of the core library and the threading layer, loaded at the first call.
void* load_core();
void* load_thread_layer();

// The address of `name` in `from`, loading that library first.  A name
// that is not there ends the process with message 3 and exit code 1.
void* bind_operation(library from, const char* name);

// Tier asked for by a QLM_DEBUG_CPU_TYPE value: 0 to 6, or -1 when the
// value counts as unset.
int parse_debug_cpu_type(const char* value);

// Tier of the processor from its identification, detected once per process.
int detect_processor_tier();

// File name of a tier number.
const char* tier_file_name(int tier);

// The text kept from the last failed library load, empty if none failed.
const char* last_load_failure();

}  // namespace qlm::frame
