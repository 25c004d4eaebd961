// Names that a runtime library lets out.  The runtime libraries are built
// with hidden visibility; their operations are marked with this.
#pragma once

#define QLM_RUNTIME_EXPORT extern "C" __attribute__((visibility("default")))
