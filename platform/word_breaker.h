/* The word-breaker module, as the engine sees it. */
#ifndef XKRDB_PLATFORM_WORD_BREAKER_H
#define XKRDB_PLATFORM_WORD_BREAKER_H

#include "xkrwbrk.h"

#endif
