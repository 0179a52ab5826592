// The Highway targets the vector-kernel sources compile; included by each of them before
// <hwy/foreach_target.h>, so that all of them compile the same ones.
//
// 32-bit ARM whose baseline lacks NEON (Debian's armhf): Highway 1.0.3 compiles NEON kernels for
// it but never reports NEON at run time there, so they would be dead code; the scalar references
// serve. A build that assumes NEON (QV_ARM_NEON) has it as its static target instead.
#pragma once

#if defined(__arm__) && !defined(__ARM_NEON) && !defined(HWY_DISABLED_TARGETS)
#define HWY_DISABLED_TARGETS HWY_NEON
#endif
