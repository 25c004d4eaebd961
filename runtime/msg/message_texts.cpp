// A message module for tests: it gives its own text for message 6, with the
// CR LF that such modules end their texts with, and counts how often it was
// asked, so that a test can tell which messages reached it.
#include <cstdlib>
#include <cstring>

#include "runtime_export.h"

namespace {
int questions = 0;
}

QLM_RUNTIME_EXPORT int qlm_msg_format(unsigned id, unsigned language, char** text) {
    ++questions;
    if (id != (6u | 0x80000000u) || language != 0x409) return 0;
    const char* own = "QLM ERROR (module text): parameter %d of %s\r\n";
    const std::size_t length = std::strlen(own);
    *text = static_cast<char*>(std::malloc(length + 1));
    if (*text == nullptr) return 0;
    std::memcpy(*text, own, length + 1);
    return static_cast<int>(length);
}

QLM_RUNTIME_EXPORT int qlm_msg_questions() { return questions; }
