// The system's header of process descriptors. That of glibc 2.36 does not say that its functions are C's.
#pragma once

extern "C" {
#include <sys/pidfd.h>
}
