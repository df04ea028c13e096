#pragma once

// The C library's header for process handles, which in Debian 12 forgets to say that it is C.
extern "C" {
#include <sys/pidfd.h>
}
