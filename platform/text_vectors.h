// Which vector instructions the passes over text, and over tables of numbers, may use.
//
// TEXT_VECTORS is 0 for none, 1 for those that the compiler is told every processor of its target has (SSE2), and 2 where
// there is also a way by AVX2, taken if the processor that the program runs on has it. Every way gives the same answers;
// a build may set less, as the tests do.
#pragma once

#if !defined(TEXT_VECTORS)
#if defined(__SSE2__) && defined(__x86_64__) && defined(__ELF__)
#define TEXT_VECTORS 2
#elif defined(__SSE2__)
#define TEXT_VECTORS 1
#else
#define TEXT_VECTORS 0
#endif
#endif

#if TEXT_VECTORS >= 1
#include <immintrin.h>
#endif

#if TEXT_VECTORS >= 2
#define BY_AVX2 __attribute__((target("avx2")))
inline bool ProcessorHasAvx2() { return __builtin_cpu_supports("avx2") != 0; }
#endif

// For passes that read whole aligned blocks: these never leave a page of the text, but hold what is beside it, which the
// sanitizers would not have anybody read.
#define READS_WHOLE_BLOCKS __attribute__((no_sanitize("address", "thread")))
