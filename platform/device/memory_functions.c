/* The four functions that a compiler may call without being asked: copying, moving, filling and comparing memory. The
 * library brings its own, so that it takes nothing from the system but what it names itself.
 *
 * The build keeps the compiler from seeing their own loops as calls of them. Blocks that both stand at a word's address
 * are copied word by word; the engine's are small, so nothing cleverer would pay. */
#include <stddef.h>
#include <stdint.h>

/* May stand for memory that is used as any other type. */
typedef uint32_t __attribute__((may_alias)) Word;

void* memcpy(void* restrict to, const void* restrict from, size_t count);
void* memmove(void* to, const void* from, size_t count);
void* memset(void* to, int value, size_t count);
int memcmp(const void* a, const void* b, size_t count);

static void CopyForwards(unsigned char* to, const unsigned char* from, size_t count) {
  if ((((uintptr_t)to | (uintptr_t)from) % sizeof(Word)) == 0) {
    for (; count >= sizeof(Word); count -= sizeof(Word), to += sizeof(Word), from += sizeof(Word)) {
      *(Word*)(void*)to = *(const Word*)(const void*)from;
    }
  }
  while (count-- > 0) *to++ = *from++;
}

void* memcpy(void* restrict to, const void* restrict from, size_t count) {
  CopyForwards(to, from, count);
  return to;
}

/* Backwards only where the end of what is copied would be overwritten before it is read. */
void* memmove(void* to, const void* from, size_t count) {
  unsigned char* const target = to;
  const unsigned char* const source = from;
  if ((uintptr_t)target - (uintptr_t)source >= count) {
    CopyForwards(target, source, count);
  } else {
    while (count-- > 0) target[count] = source[count];
  }
  return to;
}

void* memset(void* to, int value, size_t count) {
  unsigned char* next = to;
  while (count-- > 0) *next++ = (unsigned char)value;
  return to;
}

int memcmp(const void* a, const void* b, size_t count) {
  const unsigned char* left = a;
  const unsigned char* right = b;
  for (; count > 0; --count, ++left, ++right) {
    if (*left != *right) return *left < *right ? -1 : 1;
  }
  return 0;
}
