// The kernel checker's part for the deinterlacer's kernels (deinterlace_check.cpp).
#pragma once

#include <random>

#include "core/kernel_table.h"

// Checks every deint* entry of the `count` vector sets against the scalar references, adding
// the cases to *passed and *failed (a failure prints what differs).
void CheckDeinterlaceKernels(const qv::VectorKernelSet* sets, int count, std::mt19937& rng, int* passed, int* failed);
// Prints ns per pixel of the block-mode row kernels for each set beside the scalar references.
void BenchDeinterlaceKernels(const qv::VectorKernelSet* sets, int count);
