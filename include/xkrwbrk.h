/* What a word-breaker module exports. The library calls these five functions and nothing else of it, so a program may
 * put a module of its own in place of ours (libXKRWBRKCE.so) as long as it keeps these names and meanings.
 *
 * A session holds the words of one search text. Any number of sessions may be open at a time.
 *
 * Compiles as strict C11 and as C++20. */
#ifndef XKRDB_XKRWBRK_H
#define XKRDB_XKRWBRK_H

#include "mdb_types.h"

#define XKR_WORD_BREAKER_API MDB_EXPORTED

#ifdef __cplusplus
extern "C" {
#endif

/* Starts the module. reserved is 0; parameter and flags are the two that MDbInit was given. The low 16 bits of the
 * result are 0 for success; anything else makes MDbInit answer MDbStatusWordBreakerFailed.
 * Our module: parameter is a zero-terminated char string that names a locale (null or empty: the root locale), flags
 * are ignored, and a name that is no locale's is refused. Searching works without a start, in the root locale. */
XKR_WORD_BREAKER_API uint32_t XKRWbrInit(uint32_t reserved, const void* parameter, uint32_t flags);

/* Stops the module. initialized is 1 when the environment was initialised, else 0; first and second are the two that
 * MDbShutdown was given. Sessions stay valid until they are closed. Our module returns to the root locale; 0. */
XKR_WORD_BREAKER_API uint32_t XKRWbrShutdown(uint32_t initialized, uint32_t first, uint32_t second);

/* Prepares a search for the words of text, which need not outlive the call. 0 and *session on success; another value
 * and *session 0 on failure (no memory). */
XKR_WORD_BREAKER_API uint16_t FWOpenSession(const MDbChar* text, uint32_t* session);

/* Tests one text. 0: found; another value: not found, or no such session.
 * Our module: found when every word of the search is the beginning of some word of the text, case and accents aside;
 * a search without words finds every text. */
XKR_WORD_BREAKER_API uint16_t FWFindWord(uint32_t session, const MDbChar* text);

/* Ends a session; 0. An unknown session is another value and harmless. */
XKR_WORD_BREAKER_API uint16_t FWCloseSession(uint32_t session);

#ifdef __cplusplus
}
#endif

#endif
